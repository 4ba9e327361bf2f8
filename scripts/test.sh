#!/bin/sh
# Runs all tests: the formatting, each compiler, library and sanitizer leg, arm64 in emulation, the
# kernel test, then the rest of the lint. Stops at the first leg that fails. After each leg, prints
# how long the legs so far took. LEGS="default tsan" runs only these legs.
set -eu
cd "$(dirname "$0")/.."

mkdir -p build
jobs=${JOBS:-$(nproc)}

# leg NAME FUNCTION: calls FUNCTION NAME. Do not use it in a condition, where "set -e" has no
# effect.
took=
leg() {
    echo "== $1"
    begin=$(date +%s)
    "$2" "$1"
    took="$took, $1 $(($(date +%s) - begin)) s"
    echo "== done: ${took#, }"
}

build_and_test() {
    cmake --preset "$1" > "build/$1.log" 2>&1 || { cat "build/$1.log"; exit 1; }
    cmake --build --preset "$1" -j "$jobs"
    ctest --preset "$1" -j "$jobs" --no-tests=error
}
set_up() {
    case ${LEGS:-arm64} in
        *arm64*)
            sh scripts/setup.sh scripts/packages-arm64.txt
            scripts/arm64-sysroot.sh
            ;;
    esac
    [ -n "${LEGS:-}" ] ||
        sh scripts/setup.sh scripts/packages-kernel.txt || echo 'the kernel test will be skipped'
}
formatting() { scripts/lint.sh --check-format; }
kernel() { scripts/test-kernel.sh build/default; }
lint() { scripts/lint.sh; }

leg set-up set_up
[ -n "${LEGS:-}" ] || leg formatting formatting
for preset in ${LEGS:-default gcc libcxx asan-ubsan tsan arm64}; do
    leg "$preset" build_and_test
done
[ -z "${LEGS:-}" ] || exit 0
leg kernel kernel
leg lint lint
