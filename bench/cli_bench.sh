#!/usr/bin/env bash
# End-to-end speed of `driftsmear render` on a 1080p H.264 clip with the
# effect's frames at 10, against the floor of decoding and encoding the same
# clip with the same codec and nothing in between:
#   ffmpeg -i in.mp4 -c:v libx264 -preset veryfast out.mp4
# Prints both in frames per second and their ratio (render / floor).
#
#   DRIFTSMEAR   the program (default build/tools/driftsmear/driftsmear)
#   CLIP_SECONDS length of the generated 30 fps clip (default 5)
#   CLIP_SIZE    its size (default 1920x1080)
#   DEVICE       --device index (default: the program's own choice)
#   HOST         ae (default) or premiere
set -euo pipefail
cd "$(dirname "$0")/.."
driftsmear=${DRIFTSMEAR:-build/tools/driftsmear/driftsmear}
seconds=${CLIP_SECONDS:-5}
frames=$((seconds * 30))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

now() { date +%s.%N; }
rate() { awk -v n="$1" -v a="$2" -v b="$3" 'BEGIN { printf "%.3f", n / (b - a) }'; }

ffmpeg -nostdin -loglevel error -f lavfi -i "testsrc2=size=${CLIP_SIZE:-1920x1080}:rate=30:duration=$seconds" \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p "$work/in.mp4"

start=$(now)
ffmpeg -nostdin -loglevel error -y -i "$work/in.mp4" -c:v libx264 -preset veryfast "$work/floor.mp4"
floor=$(rate "$frames" "$start" "$(now)")

args=(render "$work/in.mp4" -o "$work/out.mp4" -y -q --stats --set frames=10 --host "${HOST:-ae}")
if [[ -n "${DEVICE:-}" ]]; then args+=(--device "$DEVICE"); fi
start=$(now)
stats=$("$driftsmear" "${args[@]}")
whole=$(rate "$frames" "$start" "$(now)")
render=$(sed -n 's/.* fps=\([0-9.]*\).*/\1/p' <<<"$stats")
device=$("$driftsmear" info | awk '/\[default\]/ { sub(/^ *[0-9]+ +/, ""); sub(/ *\[default\]$/, ""); print }')

echo "clip: ${CLIP_SIZE:-1920x1080}, $frames frames at 30 fps (testsrc2, H.264); frames=10; host ${HOST:-ae}"
echo "device: ${DEVICE:+device $DEVICE, default is }$device"
echo "cores: $(nproc)"
echo "$stats"
echo "floor (ffmpeg decode + libx264 veryfast encode): $floor fps"
echo "driftsmear render, frames loop only: $render fps"
echo "driftsmear render, whole run with module load and kernel build: $whole fps"
awk -v r="$render" -v f="$floor" 'BEGIN { printf "ratio render / floor: %.4f (the effect costs %.0fx the media work)\n", r / f, f / r }'
