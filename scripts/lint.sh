#!/bin/sh
# Checks the formatting, runs clang-tidy over our sources, and compiles with the phone's flags.
# --check-format only checks the formatting; --format corrects it.
set -eu
cd "$(dirname "$0")/.."

sources() { git ls-files '*.cpp' '*.h'; }

if [ "${1:-}" = --format ]; then
    sources | xargs clang-format -i
    exit 0
fi
case ${1:-} in '' | --check-format) ;; *) echo "usage: $0 [--format | --check-format]" >&2; exit 2 ;; esac
echo "== lint: clang-format"
sources | xargs clang-format --dry-run -Werror
[ "${1:-}" != --check-format ] || exit 0
echo "== lint: clang-tidy"
# Only compiled files have a command line; headers are checked with their sources. A file that is
# compiled for several programs is checked once. The counts of suppressed warnings in library headers
# go to a file.
cmake --preset default > /dev/null
mkdir -p build/clang-tidy
python3 -c 'import json, sys
commands = json.load(sys.stdin)
json.dump(list({each["file"]: each for each in reversed(commands)}.values()), sys.stdout)' \
    < build/default/compile_commands.json > build/clang-tidy/compile_commands.json
compiled() { sed -n "s|^.*\"file\": \"$PWD/\([^\"]*\)\".*|\1|p" build/default/compile_commands.json | sort -u; }
tidy() { xargs -P "${JOBS:-$(nproc)}" -n 4 clang-tidy --quiet -p build/clang-tidy "$@" 2>> build/clang-tidy.log; }
: > build/clang-tidy.log
compiled | grep -vE '^(bench|build|tests)/' | tidy
# The analyzer takes as long as all other checks together. The sanitizers run the tests' own code.
compiled | grep '^tests/' | tidy '--checks=-clang-analyzer-*'
echo "== lint: the phone's compiler flags"
scripts/arm64-sysroot.sh
scripts/check_phone.sh
echo "== lint: clean"
