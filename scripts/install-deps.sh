#!/usr/bin/env bash
# Installs the Debian 12 packages Drift Smear needs to build, test and render.
# Runs as root (or through sudo); installs only what is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  opencl-headers ocl-icd-opencl-dev pocl-opencl-icd clinfo
  libstb-dev fonts-dejavu-core
  libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg
  frei0r-plugins-dev melt
  libgtest-dev libbenchmark-dev
  time valgrind
)
if [[ "${DRIFTSMEAR_WINDOWS:-1}" == 1 ]]; then
  packages+=(g++-mingw-w64-x86-64-posix mingw-w64-tools)
  wine_packages=(wine64 wine)
else
  wine_packages=()
fi

missing=()
for p in "${packages[@]}" "${wine_packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

SUDO=""
if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
regular=(); wine_missing=()
for p in "${missing[@]}"; do
  if [[ " ${wine_packages[*]} " == *" $p "* ]]; then wine_missing+=("$p"); else regular+=("$p"); fi
done
if ((${#regular[@]})); then $SUDO apt-get install -y -qq "${regular[@]}"; fi
if ((${#wine_missing[@]})); then $SUDO apt-get install -y -qq --no-install-recommends "${wine_missing[@]}"; fi
