#!/bin/sh
# Formatting and clang-tidy over our sources, and the phone's compiler flags. --check-format checks the
# formatting alone, --format mends it instead.
set -eu
cd "$(dirname "$0")/.."

sources() { git ls-files '*.cpp' '*.h'; }

if [ "${1:-}" = --format ]; then
    sources | xargs clang-format -i
    exit 0
fi
echo "== lint: clang-format"
sources | xargs clang-format --dry-run -Werror
[ "${1:-}" != --check-format ] || exit 0
echo "== lint: clang-tidy"
# Only what is compiled has a command line; headers are checked with their sources. What is counted
# and suppressed in library headers goes to a file.
cmake --preset default > /dev/null
git ls-files '*.cpp' | grep -v '^bench/' |
    xargs -P "${JOBS:-$(nproc)}" -n 4 clang-tidy --quiet -p build/default 2> build/clang-tidy.log
echo "== lint: the phone's compiler flags"
scripts/arm64-sysroot.sh
scripts/check_phone.sh
echo "== lint: clean"
