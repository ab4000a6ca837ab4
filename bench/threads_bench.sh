#!/usr/bin/env bash
# Frames per second of `driftsmear render` at 1, 2 and 4 render threads
# (--threads) on one device: the generated demo clip at a small size, the
# effect's default settings, output to a lossless file. Prints one line per
# thread count.
#
#   DRIFTSMEAR   the program (default build/tools/driftsmear/driftsmear)
#   SIZE         WIDTHxHEIGHT of the clip (default 640x360)
#   FRAMES       frames of the clip (default 40)
#   DEVICE       --device index (default: the program's own choice)
#   HOST         ae (default) or premiere
#   THREADS      the thread counts (default "1 2 4")
set -euo pipefail
cd "$(dirname "$0")/.."
driftsmear=${DRIFTSMEAR:-build/tools/driftsmear/driftsmear}
size=${SIZE:-640x360}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for threads in ${THREADS:-1 2 4}; do
  args=(demo --width "${size%x*}" --height "${size#*x}" --frames "${FRAMES:-40}" --threads "$threads"
        --host "${HOST:-ae}" --stats -q -y -o "$work/out-$threads.mkv")
  if [[ -n "${DEVICE:-}" ]]; then
    args+=(--device "$DEVICE")
  fi
  stats=$("$driftsmear" "${args[@]}" 2>&1 | grep '^stats:')
  fps=$(sed -n 's/.* fps=\([0-9.]*\).*/\1/p' <<<"$stats")
  echo "threads=$threads fps=$fps ($size, ${FRAMES:-40} frames, host ${HOST:-ae})"
done
