#!/usr/bin/env bash
# The main job of `make run`: `lumocam demo` on the simulated producer that the
# build puts beside the library. Run from the repository root; the pictures
# land in ./lumocam-demo/.
set -euo pipefail
build=${1:-build}
exec "$build/bin/lumocam" demo --out lumocam-demo
