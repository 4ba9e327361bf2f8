#!/bin/sh
# Runs the virtual-machine test of one build directory. If its packages or its kernel are not
# available, prints a clear notice and succeeds. A failed boot or check is an error.
set -eu
cd "$(dirname "$0")/.."

skip() { echo "== kernel test SKIPPED: $1" >&2; exit 0; }

sh scripts/setup.sh scripts/packages-kernel.txt || skip "its packages cannot be installed"
status=0
tests/kernel/run.sh --build "$1" || status=$?
[ "$status" -ne 77 ] || skip "see above"
exit "$status"
