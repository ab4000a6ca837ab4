#!/usr/bin/env bash
# Cross-builds Drift Smear for 64-bit Windows (mingw-w64: the module
# DriftSmear.aex, the host, the tools and the tests) and runs the tests under
# Wine through CTest. Exits non-zero when the build or a test fails; skips with
# a message when the cross compiler or Wine is not installed.
#
#   DRIFTSMEAR_WINDOWS_BUILD_DIR  build folder (default build-win)
#   DRIFTSMEAR_JOBS               parallel jobs (default: number of cores)
set -euo pipefail
cd "$(dirname "$0")/.."

for tool in x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-windres x86_64-w64-mingw32-dlltool; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "test-windows: $tool not found; skipping the Windows build and tests" \
         "(Debian: g++-mingw-w64-x86-64-posix mingw-w64-tools)"
    exit 0
  fi
done
for tool in wine wineserver; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "test-windows: $tool not found; skipping the Windows build and tests (Debian: wine64 wine)"
    exit 0
  fi
done

build=${DRIFTSMEAR_WINDOWS_BUILD_DIR:-build-win}
jobs=${DRIFTSMEAR_JOBS:-$(nproc 2>/dev/null || echo 2)}
mkdir -p "$build"
prefix="$(cd "$build" && pwd)/wineprefix"

configure=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DDRIFTSMEAR_WERROR=ON -DDRIFTSMEAR_CUDA=OFF -DDRIFTSMEAR_BENCH=OFF
           -DDRIFTSMEAR_WINEPREFIX="$prefix")
if [[ ! -f "$build/CMakeCache.txt" ]]; then
  # The toolchain is read only when the build folder is first configured.
  configure+=(-G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw64.cmake)
fi
cmake -S . -B "$build" "${configure[@]}"
cmake --build "$build" -j "$jobs"

# Wine, quiet and headless, in the build's own prefix. Mono and Gecko are not
# needed, so Wine does not offer to install them when it creates the prefix.
export WINEPREFIX="$prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY

# One Wine server for the whole run, started (and the prefix created) before
# CTest and stopped afterwards; a server started by the first test could keep
# CTest waiting on its open pipes.
stop_wine() { wineserver -k </dev/null >/dev/null 2>&1 || true; }
trap stop_wine EXIT
# (wineserver -p fails when a server for this prefix already runs; that one
# serves as well.)
wineserver -p </dev/null >/dev/null 2>&1 || true
wine cmd /c exit </dev/null >/dev/null 2>&1

# Renders that composite in place depend on work-item order; one PoCL thread
# keeps them repeatable. Tests set this themselves on Linux, but under Wine the
# Windows side of the environment does not reach PoCL, so it is set here.
export POCL_MAX_PTHREAD_COUNT=1

# Every test has its own timeout (tests/CMakeLists.txt); --timeout covers any
# test that does not.
# A test whose process Wine fails to start (it ends at once with no output)
# gets one more run; a test that fails for real fails both.
ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 600 --repeat until-pass:2
