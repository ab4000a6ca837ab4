#!/usr/bin/env bash
# Instructions per pixel per MainKernel pass, counted by callgrind, for the
# host C++ build and for OpenCL on PoCL, and PoCL's verdict on vectorising
# the work-item loop. Prints one "name value" line per figure:
#
#   cpp_instructions_per_pixel   N
#   pocl_instructions_per_pixel  N
#   pocl_work_item_loop          vectorized | not vectorized: <reason>
#   pocl_work_item_loop_counted  the same, for the build callgrind counts
#
#   BUILD    build directory (default build)
#   SIZE     frame size WIDTHxHEIGHT (default 128x128: instructions per pixel
#            do not depend on the size, and callgrind is slow)
#   PASSES   passes counted (default 1)
#
# Valgrind reports a CPU without AVX-512, so the PoCL count is that of the
# kernel compiled for pthread-haswell (PoCL compiles it again under
# callgrind), while the vectoriser verdict is that of the native device. Both
# vectorise the work-item loop of float frames; valgrind cannot run the
# native device's AVX-512 code, and this machine's virtual CPU offers perf no
# instruction counter.
#
# PoCL's kernel cache goes to a fresh temporary directory, so the program is
# built (and its vectoriser remarks printed) on every run; only the code of
# MainKernel's work-group function is counted.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
size=${SIZE:-128x128}
passes=${PASSES:-1}
width=${size%x*}
height=${size#*x}
driver=$build/bench/kernel_pass
[[ -x $driver ]] || { echo "missing $driver (build the kernel_pass target)" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "valgrind is not installed" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Instructions collected inside functions matching $2, per pixel per pass.
count() {
  local name=$1 pattern=$2
  shift 2
  valgrind --tool=callgrind --callgrind-out-file="$work/$name.out" --toggle-collect="$pattern" "$@" \
    >"$work/$name.log" 2>&1 || { cat "$work/$name.log" >&2; exit 1; }
  local collected
  collected=$(sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$work/$name.log" | tail -1)
  awk -v c="$collected" -v p=$((width * height * passes)) 'BEGIN { printf "%.0f\n", c / p }'
}

echo "cpp_instructions_per_pixel $(count cpp '*RunMainKernelCpu*' "$driver" cpp "$width" "$height" "$passes")"

# The kernel is compiled natively first, for this machine's device, and again
# under callgrind for the CPU valgrind reports (only the kernel's own code is
# counted, not its compilation); both print the vectoriser's remarks.
export POCL_CACHE_DIR=$work/pocl
export POCL_VECTORIZER_REMARKS=1
"$driver" opencl "$width" "$height" 1 >"$work/build.log" 2>&1 || { cat "$work/build.log" >&2; exit 1; }
echo "pocl_instructions_per_pixel $(count pocl '_pocl_kernel_MainKernel*' "$driver" opencl "$width" "$height" "$passes")"

# The loop vectoriser's verdict on the work-item loops in a log (PoCL prints
# LLVM's optimisation remarks without line breaks): "vectorized" when the
# float frames' loop is.
verdict() {
  local remarks reason
  remarks=$(sed 's/<unknown>:0:0: /\n/g' "$1" |
    grep -E '^(loop not vectorized|vectorized loop|the cost-model indicates that vectorization)' | sort -u || true)
  if grep -q '^vectorized loop' <<<"$remarks"; then
    echo "vectorized"
  else
    reason=$(grep -v '^loop not vectorized$' <<<"$remarks" | head -1)
    echo "not vectorized${reason:+: ${reason#loop not vectorized: }}"
  fi
}
echo "pocl_work_item_loop $(verdict "$work/build.log")"
echo "pocl_work_item_loop_counted $(verdict "$work/pocl.log")"
