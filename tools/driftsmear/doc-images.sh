#!/usr/bin/env bash
# Renders the README's pictures into docs/images/: the demo clip's last frame
# in every debug view (640x360: large enough for the smear to show) and the
# Effect Controls panel.
#   DRIFTSMEAR  the driftsmear program (default build/tools/driftsmear/driftsmear)
set -euo pipefail
cd "$(dirname "$0")/../.."
driftsmear=${DRIFTSMEAR:-build/tools/driftsmear/driftsmear}
out=docs/images
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$out"

frames=16
last=$(printf '%02d' $((frames - 1)))
for view in result motion displace flowmag shift; do
  "$driftsmear" demo --width 640 --height 360 --frames "$frames" --view "$view" -q -y -o "$work/$view-%02d.png"
  # 8-bit RGB keeps the pictures small.
  ffmpeg -nostdin -loglevel error -y -i "$work/$view-$last.png" -pix_fmt rgb24 "$out/view-$view.png"
done
"$driftsmear" panel -q -y -o "$out/panel.png"
ls -l "$out"
