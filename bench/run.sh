#!/usr/bin/env bash
# Every figure of the table in docs/performance.md, measured in one run on one
# machine, so the ratios compare like with like:
#   - instructions per pixel per pass (callgrind) for the C++ build and PoCL,
#     from bench/kernel_instructions.sh where the tree has it;
#   - time per 1080p MainKernel pass, C++ build against OpenCL (kernel_bench),
#     each against the kernel text as it was before its speed work (the
#     BASELINE commit, default 4540908), built and timed in the same run;
#   - end-to-end fps of `driftsmear render --set frames=10` on a 1080p H.264
#     clip against the decode+encode floor (ffmpeg, libx264 veryfast) and
#     against `minterpolate=mi_mode=mci` and `tmix=frames=10` on the same clip;
#   - host-to-device bytes per output frame (driftsmear --stats);
#   - peak resident memory of the render at 1080p and at 4K (GNU time);
#   - fps at 1, 2 and 4 render threads.
# Clips are short (RUN_FRAMES output frames, default 12) so the whole run
# takes minutes on two cores. The table replaces the one between the markers
# in docs/performance.md (OUT=file writes it there instead).
#
#   bash bench/run.sh
#   BUILD=build-gpu RUN_DEVICE=1 OUT=table.md bash bench/run.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
driftsmear="$build/tools/driftsmear/driftsmear"
frames=${RUN_FRAMES:-12}
out=${OUT:-docs/performance.md}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[[ -x "$driftsmear" && -x "$build/bench/kernel_bench" ]] || { echo "build first: $driftsmear, $build/bench/kernel_bench" >&2; exit 1; }

now() { date +%s.%N; }
fps() { awk -v n="$1" -v a="$2" -v b="$3" 'BEGIN { printf "%.3f", n / (b - a) }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.3f", a / b; else print "—" }'; }
stat() { sed -n "s/.* $1=\([0-9.]*\).*/\1/p" <<<"$2"; }
# Peak resident set of a command, in MB (GNU time's maximum RSS is in KiB).
peak_mb() { awk '/Maximum resident set size/ { printf "%.0f", $NF / 1024 }' "$1"; }
device_args=()
[[ -n "${RUN_DEVICE:-}" ]] && device_args=(--device "$RUN_DEVICE")
log() { echo "bench/run.sh: $*" >&2; }

load_before=$(cut -d' ' -f1-3 /proc/loadavg)
cpu=$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')
simd=$(grep -m1 -o -w 'avx512f' /proc/cpuinfo >/dev/null && echo AVX-512 ||
  (grep -m1 -o -w 'avx2' /proc/cpuinfo >/dev/null && echo AVX2 || echo SSE))
device=$("$driftsmear" info | awk -v want="${RUN_DEVICE:-}" '
  /^ +[0-9]+ +(OpenCL|CUDA) / { i = $1; sub(/^ *[0-9]+ +/, ""); line = $0
    if ((want == "" && line ~ /\[default\]/) || i == want) { sub(/ *\[default\]$/, "", line); print line; exit } }')

# ---- Kernels --------------------------------------------------------------------
log "kernel passes"
instructions="not measured: bench/kernel_instructions.sh is not in this tree"
if [[ -f bench/kernel_instructions.sh ]]; then
  counts=$(BUILD="$build" bash bench/kernel_instructions.sh 2>/dev/null || true)
  figure() { awk -v key="$1" '$1 == key { $1 = ""; sub(/^ +/, ""); print }' <<<"$counts"; }
  instructions="$(figure cpp_instructions_per_pixel) (C++), $(figure pocl_instructions_per_pixel) (PoCL); PoCL's work-item loop: $(figure pocl_work_item_loop) (counted build: $(figure pocl_work_item_loop_counted))"
fi
# The baseline's kernel_bench is built from `git archive` of that commit in
# $build/kernel-baseline (later runs reuse its build).
baseline=${BASELINE-4540908}
baseline_bench=""
if [[ -n "$baseline" ]] && git rev-parse -q --verify "$baseline^{commit}" >/dev/null; then
  log "kernel_bench at $baseline"
  baseline_dir="$build/kernel-baseline"
  rm -rf "$baseline_dir/src" && mkdir -p "$baseline_dir/src"
  git archive "$baseline" | tar -x -C "$baseline_dir/src"
  if cmake -S "$baseline_dir/src" -B "$baseline_dir/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null &&
    cmake --build "$baseline_dir/build" --target kernel_bench >/dev/null; then
    baseline_bench="$baseline_dir/build/bench/kernel_bench"
  fi
fi
# The fastest of five one-second repetitions, today's and the baseline's back
# to back (the fastest is the least disturbed by the rest of the machine).
kernel_times() {  # BENCH JSON
  "$1" --benchmark_filter='(Cpp|OpenCL)/1920/1080' --benchmark_repetitions=5 --benchmark_min_time=1 \
    --benchmark_format=json >"$2" 2>/dev/null || true
}
kernel_times "$build/bench/kernel_bench" "$work/kernel.json"
[[ -n "$baseline_bench" ]] && kernel_times "$baseline_bench" "$work/baseline.json"
pass_ms() {  # JSON BACKEND
  [[ -s "$1" ]] || { echo "—"; return; }
  python3 - "$1" "$2" <<'EOF'
import json, sys
data = json.load(open(sys.argv[1]))
times = [b["real_time"] for b in data.get("benchmarks", [])
         if sys.argv[2] in b["name"] and b.get("run_type") == "iteration" and not b.get("error_occurred")]
print("%.1f" % min(times) if times else "—")
EOF
}
cpp_ms=$(pass_ms "$work/kernel.json" Cpp)
ocl_ms=$(pass_ms "$work/kernel.json" OpenCL)
cpp_before=$(pass_ms "$work/baseline.json" Cpp)
ocl_before=$(pass_ms "$work/baseline.json" OpenCL)
speedup() {  # NOW BEFORE
  awk -v now="$1" -v before="$2" 'BEGIN {
    if (now > 0 && before > 0) printf "before: %s ms, %.2f× faster", before, before / now; else print "before: not measured" }'
}

# ---- Clips ----------------------------------------------------------------------
log "clips"
clip_frames=$((frames + 10))
ffmpeg -nostdin -loglevel error -f lavfi -i "testsrc2=size=1920x1080:rate=30" -frames:v "$clip_frames" \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p "$work/in.mp4"
ffmpeg -nostdin -loglevel error -f lavfi -i "testsrc2=size=3840x2160:rate=30" -frames:v 12 \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p "$work/in4k.mp4"

# The same output frames everywhere: frames 10 .. 10 + RUN_FRAMES - 1, whose
# ten-frame windows are all inside the clip.
ff_frames() { ffmpeg -nostdin -loglevel error -y -i "$work/in.mp4" "$@" -vf "$filter,trim=start_frame=10" \
  -c:v libx264 -preset veryfast "$work/ff.mp4"; }
log "floor and ffmpeg filters"
start=$(now)
ffmpeg -nostdin -loglevel error -y -i "$work/in.mp4" -c:v libx264 -preset veryfast "$work/floor.mp4"
floor=$(fps "$clip_frames" "$start" "$(now)")
filter="minterpolate=mi_mode=mci"; start=$(now); ff_frames
minterp=$(fps "$clip_frames" "$start" "$(now)")
filter="tmix=frames=10"; start=$(now); ff_frames
tmix=$(fps "$clip_frames" "$start" "$(now)")

# ---- The renderer ---------------------------------------------------------------
render() {  # render INPUT START DURATION TIMEFILE [extra args]
  local input=$1 first=$2 count=$3 timefile=$4
  shift 4
  /usr/bin/time -v -o "$timefile" "$driftsmear" render "$input" -o "$work/out.mp4" -y -q --stats \
    --set frames=10 --start "${first}f" --duration "${count}f" "${device_args[@]}" "$@"
}
# From the clip's first frame, where every output frame brings one new input
# frame: the upload count is then the steady state, not the first window.
log "render 1080p"
stats=$(render "$work/in.mp4" 0 "$frames" "$work/time1080")
render_fps=$(stat fps "$stats")
h2d_bytes=$(stat h2d_bytes_per_frame "$stats")
h2d_frames=$(stat h2d_frames_per_frame "$stats")
rss1080=$(peak_mb "$work/time1080")
log "render 4K"
stats4k=$(render "$work/in4k.mp4" 10 2 "$work/time4k")
rss4k=$(peak_mb "$work/time4k")
h2d4k=$(stat h2d_frames_per_frame "$stats4k")

threads_row=""
render_help=$("$driftsmear" render --help 2>&1 || true)
if grep -q -- '--threads' <<<"$render_help"; then
  for n in 1 2 4; do
    log "render 1080p, $n render threads"
    s=$(render "$work/in.mp4" 10 "$frames" "$work/time_t$n" --threads "$n")
    threads_row+="$(stat fps "$s") / "
  done
  threads_row=${threads_row% / }
else
  threads_row="not measured: this renderer has no --threads"
fi
load_after=$(cut -d' ' -f1-3 /proc/loadavg)

# ---- The table ------------------------------------------------------------------
table="$work/table.md"
cat >"$table" <<EOF
Measured $(date -u '+%Y-%m-%d %H:%M UTC') by \`bench/run.sh\` on: $cpu ($simd), $(nproc) cores,
device "$device"; load average $load_before before the run, $load_after after.
"Before" is the kernel text of commit ${baseline:-(none)}, built and timed in this run.
Render clips: testsrc2 H.264 (libx264 veryfast), \`--set frames=10\`, default settings otherwise;
output frames 0 to $((frames - 1)) for the 1080p render and its bytes and memory, 10 to $((10 + frames - 1))
for the thread counts and the ffmpeg filters (whole ten-frame windows), 10 and 11 at 4K.

| Figure | Measured | Target |
|---|---|---|
| Instructions per pixel per pass (callgrind), C++ build and PoCL | $instructions | PoCL ≤ 600 |
| 1080p \`MainKernel\` pass, C++ build (one thread) | $cpp_ms ms ($(speedup "$cpp_ms" "$cpp_before")) | ≥ 2× faster than before |
| 1080p \`MainKernel\` pass, OpenCL | $ocl_ms ms ($(speedup "$ocl_ms" "$ocl_before")) | PoCL ≥ 4× faster than before |
| Pass time OpenCL / C++ build | $(ratio "$ocl_ms" "$cpp_ms") | |
| Decode + encode floor, 1080p (ffmpeg, libx264 veryfast) | $floor fps | |
| \`driftsmear render\`, 1080p, frames=10 | $render_fps fps | ≥ 1 fps on PoCL |
| Render / floor | $(ratio "$render_fps" "$floor") | ≥ 0.9 on CUDA |
| \`ffmpeg -vf minterpolate=mi_mode=mci\`, same clip | $minterp fps (render / it: $(ratio "$render_fps" "$minterp")) | render faster |
| \`ffmpeg -vf tmix=frames=10\`, same clip | $tmix fps (render / it: $(ratio "$render_fps" "$tmix")) | |
| Host→device bytes per output frame, 1080p | $h2d_bytes B ($h2d_frames input frames) | ≤ 1.1 input frames |
| Host→device input frames per output frame, 4K (2 frames from frame 10: the first window, 11 frames, included) | $h2d4k | |
| Peak resident memory, 1080p render | $rss1080 MB | |
| Peak resident memory, 4K render | $rss4k MB | ≤ 2500 MB |
| fps at 1 / 2 / 4 render threads, 1080p | $threads_row | |
EOF

if [[ "$out" == docs/performance.md ]]; then
  begin='<!-- bench/run.sh table -->'
  end='<!-- end of bench/run.sh table -->'
  grep -qF "$begin" "$out" || { echo "$out has no '$begin' marker" >&2; cat "$table"; exit 1; }
  awk -v begin="$begin" -v end="$end" -v table="$table" '
    $0 == begin { print; while ((getline line < table) > 0) print line; skip = 1; next }
    $0 == end { skip = 0 }
    !skip { print }' "$out" >"$work/doc.md"
  cp "$work/doc.md" "$out"
else
  cp "$table" "$out"
fi
cat "$table"
