#!/bin/bash
# Builds and runs the benchmarks, with the options of bench/run.py (--help lists them).
set -eu
cd "$(dirname "$0")/.."

sh scripts/setup.sh scripts/packages-bench.txt
cmake --preset default -B build/bench -DKAVEL_BENCH=ON > /dev/null
# Those that do not build are missing in the table; the others still run.
cmake --build build/bench -j "${JOBS:-$(nproc)}" --target bench/all host/all core/all tools/all kaveldesk -- -k 0 |
    { grep -E 'error|FAILED|warning' || true; }
exec python3 bench/run.py "$@"
