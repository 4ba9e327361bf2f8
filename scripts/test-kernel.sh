#!/bin/sh
# The virtual-machine test of one build directory. Where its packages or its kernel cannot be had,
# that is said loudly and is no failure; a boot or a check that fails is one.
set -eu
cd "$(dirname "$0")/.."

skip() { echo "== kernel test SKIPPED: $1" >&2; exit 0; }

sh scripts/setup.sh scripts/packages-kernel.txt || skip "its packages cannot be installed"
status=0
tests/kernel/run.sh --build "$1" || status=$?
[ "$status" -ne 77 ] || skip "see above"
exit "$status"
