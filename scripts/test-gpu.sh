#!/usr/bin/env bash
# The whole check on a machine with an NVIDIA GPU, in one command: installs
# what is missing, builds with CUDA, runs every test with no device case
# allowed to skip (CUDA, NVIDIA's OpenCL and PoCL alike: a missing device
# fails the test), then every benchmark, and writes a report.
#
#   bash scripts/test-gpu.sh                  # report in build-gpu/gpu-report.txt
#   DRIFTSMEAR_BUILD_DIR=dir REPORT=file bash scripts/test-gpu.sh
#
# The exit status is that of the build and the tests; benchmark failures are
# recorded in the report. CUDA is looked for at /usr/local/cuda.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${DRIFTSMEAR_BUILD_DIR:-build-gpu}
mkdir -p "$build"
report=$(realpath -m "${REPORT:-$build/gpu-report.txt}")
jobs=$(nproc 2>/dev/null || echo 4)
export PATH="/usr/local/cuda/bin:$PATH"
: >"$report"

say() { echo "$*" | tee -a "$report"; }
section() { say ""; say "== $* =="; }
fail() { say "FAILED: $*"; exit 1; }
# Runs a command, appending its output to the report (and the screen).
record() { "$@" 2>&1 | tee -a "$report"; return "${PIPESTATUS[0]}"; }

section "Machine"
say "date: $(date -u '+%Y-%m-%d %H:%M UTC')"
say "cpu: $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//'), $jobs cores"
say "load: $(cut -d' ' -f1-3 /proc/loadavg)"
command -v nvidia-smi >/dev/null || fail "nvidia-smi not found: this check needs an NVIDIA GPU and driver"
record nvidia-smi --query-gpu=name,driver_version,memory.total,clocks.max.sm --format=csv || fail "nvidia-smi"
command -v nvcc >/dev/null || fail "nvcc not found (expected in /usr/local/cuda/bin)"
say "nvcc: $(nvcc --version | tail -1)"

section "Dependencies"
record env DRIFTSMEAR_WINDOWS=0 bash scripts/install-deps.sh || fail "scripts/install-deps.sh"
# NVIDIA's OpenCL: the driver ships the library; the loader needs its ICD file.
if ! grep -qs . /etc/OpenCL/vendors/nvidia.icd; then
  lib=$(ldconfig -p | awk '/libnvidia-opencl\.so\.1/ { print $NF; exit }')
  if [[ -n "$lib" ]]; then
    SUDO=""; [[ $(id -u) -ne 0 ]] && SUDO="sudo"
    $SUDO mkdir -p /etc/OpenCL/vendors && echo "$lib" | $SUDO tee /etc/OpenCL/vendors/nvidia.icd >/dev/null
    say "registered NVIDIA's OpenCL library $lib with the ICD loader"
  fi
fi
record clinfo -l || true
clinfo -l 2>/dev/null | grep -qi nvidia || fail "no NVIDIA OpenCL platform: the NVIDIA OpenCL cases cannot run"

section "Build (CUDA on)"
record cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDRIFTSMEAR_CUDA=ON \
  -DCMAKE_CUDA_COMPILER=/usr/local/cuda/bin/nvcc || fail "configure"
record cmake --build "$build" -j "$jobs" || fail "build"
record "$build/tools/driftsmear/driftsmear" info || fail "driftsmear info"

section "Tests (every device required)"
export DRIFTSMEAR_REQUIRE_DEVICES=1
ctest --test-dir "$build" -j "$jobs" --output-on-failure --output-junit "$build/gpu-tests.xml" \
  >"$build/gpu-tests.log" 2>&1
tests_status=$?
grep -E "tests passed|tests failed|Total Test time" "$build/gpu-tests.log" | tee -a "$report"
say "skipped (none may be for lack of a device):"
grep -E "\(Skipped\)|\(Not Run\)" "$build/gpu-tests.log" | tee -a "$report" || say "  none"
if ((tests_status != 0)); then
  say "failed tests:"
  sed -n '/The following tests FAILED/,$p' "$build/gpu-tests.log" | tee -a "$report"
fi

section "Benchmarks"
bench_status=0
bench() {
  say ""
  say "\$ $*"
  record "$@" || { bench_status=1; say "(failed: $*)"; }
}
bench "$build/bench/kernel_bench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
bench "$build/bench/ae_frame_bench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
bench "$build/bench/media_floor"
cuda=$("$build/tools/driftsmear/driftsmear" info | awk '/ CUDA [0-9]+:/ { print $1; exit }')
for size in 1920x1080 3840x2160; do
  bench env DRIFTSMEAR="$build/tools/driftsmear/driftsmear" CLIP_SECONDS=5 CLIP_SIZE="$size" DEVICE="$cuda" \
    bash bench/cli_bench.sh
done
for script in bench/threads_bench.sh bench/kernel_instructions.sh; do
  [[ -f "$script" ]] && bench env DRIFTSMEAR="$build/tools/driftsmear/driftsmear" BUILD="$build" DEVICE="$cuda" \
    bash "$script"
done
# The table of docs/performance.md, measured here on the CUDA device.
bench env BUILD="$build" RUN_DEVICE="$cuda" OUT="$build/performance-table.md" bash bench/run.sh

section "Result"
say "tests: $([[ $tests_status == 0 ]] && echo passed || echo FAILED)"
say "benchmarks: $([[ $bench_status == 0 ]] && echo all ran || echo 'some FAILED (see above)')"
say "report: $report"
cd "$root"
exit "$tests_status"
