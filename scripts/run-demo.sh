#!/usr/bin/env bash
# The main job of `make run`: the example programs against the simulated
# producer that the build puts beside the library.
set -euo pipefail
build=${1:-build}
bin="$build/bin"
out=lumocam-demo
mkdir -p "$out"

echo "== Cameras found through the producers beside $build/lib/libLumoGenICam.so"
"$bin/list_cameras"
echo
echo "== System module features of the simulated producer (read through GenApi)"
"$bin/system_features" LumoSim.cti
echo
echo "== Pixel conversion"
"$bin/convert_frame" "$out/bayer_rg8.ppm"
echo
echo "Done: the demo picture is $out/bayer_rg8.ppm; the log file is VEXOGenICamLog.txt."
