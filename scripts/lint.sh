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
# Only compiled files have a command line; headers are checked with their sources. The counts of suppressed
# warnings in library headers go to a file.
mkdir -p build
: > build/clang-tidy.log
# tidy PRESET CHECKS: checks the files on standard input.
tidy() { xargs -r -P "${JOBS:-$(nproc)}" -n 2 clang-tidy --quiet -p "build/$1" "--checks=$2" 2>> build/clang-tidy.log; }
# compiled PRESET: lists the files that the preset compiles, without those that the build makes.
compiled() {
    cmake --preset "$1" > /dev/null
    sed -n "s|^ *\"file\": \"$PWD/\([^\"]*\)\".*|\1|p" "build/$1/compile_commands.json" | grep -v '^build/.*\.cpp$' | sort -u
}
# Joined files take a sixth of the time. What a copy more costs is no matter in the tests. The analyzer looks
# at no included source; the sanitizers run the code of the tests and of the host.
analyzer='clang-analyzer-*,-clang-analyzer-optin.performance.Padding'
files=build/clang-tidy.files
compiled lint > $files
[ -s $files ] || { echo "lint.sh: nothing to check" >&2; exit 1; }
grep -E '^(build/lint/)?tests/' $files | tidy lint '-clang-analyzer-*,-performance-*'
grep -E '^(build/lint|host)/' $files | grep -v '^build/lint/tests/' | tidy lint '-clang-analyzer-*'
grep -vE '^(build|host|tests)/' $files | tidy lint "$analyzer"
compiled default | grep -vE '^(host|tests)/' | grep -vxFf $files | tidy default "-*,$analyzer"
echo "== lint: the phone's compiler flags"
scripts/arm64-sysroot.sh
scripts/check_phone.sh
echo "== lint: clean"
