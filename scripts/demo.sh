#!/usr/bin/env bash
# Installs what is missing, builds the plug-in and the driftsmear program
# (Linux, optimised; no Windows build), and renders the demo clip through the
# effect into out/driftsmear-demo.mp4.
#   DRIFTSMEAR_BUILD_DIR  build folder (default build, shared with scripts/test.sh)
set -euo pipefail
cd "$(dirname "$0")/.."

DRIFTSMEAR_WINDOWS=0 bash scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
build=${DRIFTSMEAR_BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$jobs" --target driftsmear

mkdir -p out
"$build/tools/driftsmear/driftsmear" demo -y -o out/driftsmear-demo.mp4
