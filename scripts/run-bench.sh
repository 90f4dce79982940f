#!/usr/bin/env bash
# Runs every benchmark executable of a bench build; each prints its own ratio table.
set -euo pipefail
build=${1:-build-bench}
status=0
for bench in "$build"/bin/*[Bb]ench*; do
    [[ -x "$bench" && -f "$bench" ]] || continue
    echo "=== $(basename "$bench")"
    "$bench" --benchmark_min_time=0.2 || status=1
    echo
done
exit $status
