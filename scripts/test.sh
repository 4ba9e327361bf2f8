#!/bin/sh
# Runs all tests: the formatting, each compiler, library and sanitizer leg, arm64 in emulation, the
# kernel test, then the lint. Stops at the first leg that fails. After each leg, prints how long the
# legs so far took. LEGS="default tsan" runs only these legs; NO_DESK=1 leaves out kaveldesk.
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

build_only() {
    cmake --preset "$1" > "build/$1.log" 2>&1 || { cat "build/$1.log"; exit 1; }
    cmake --build --preset "$1" -j "$jobs"
}
# Most cases wait for most of their time. A machine that stops all processes for seconds can fail one, so
# up to three failed cases run once more, with nothing beside them, and are named at the end: each needs
# its cause found. What a sanitizer reports counts at once, also in the log of a phone, whose next run
# would remove it.
build_and_test() {
    build_only "$1"
    results=build/$1/Testing/Temporary
    ctest --preset "$1" -j $((3 * jobs)) --no-tests=error && return
    if grep -s 'Sanitizer:\|runtime error:' "$results/LastTest.log" build/"$1"/phones/*/log/stdio; then return 1; fi
    if [ "$(wc -l < "$results/LastTestsFailed.log")" -gt 3 ]; then return 1; fi
    failed=$(cut -d: -f2- "$results/LastTestsFailed.log")
    echo "== once more:" $failed
    ctest --preset "$1" --rerun-failed
    unsteady="$unsteady$(echo "$failed" | sed "s/^/\n  $1: /")"
}
# All that a chosen leg needs, so that nothing is missing after half an hour.
set_up() {
    case $legs in
        *arm64*) sh scripts/setup.sh scripts/packages-arm64.txt ;;
    esac
    case $legs in
        *arm64* | *lint*) scripts/arm64-sysroot.sh ;;
    esac
    case $legs in
        *default*)
            if [ -z "${NO_DESK:-}" ]; then
                sh scripts/setup.sh scripts/packages-browser.txt
                sh scripts/setup.sh scripts/packages-clickhouse.txt
            fi
            ;;
    esac
    case $legs in
        *kernel*) sh scripts/setup.sh scripts/packages-kernel.txt || echo 'the kernel test will be skipped' ;;
    esac
}
formatting() { scripts/lint.sh --check-format; }
kernel() {
    build_only default
    scripts/test-kernel.sh build/default
}
lint() { scripts/lint.sh; }

unsteady=
legs=${LEGS:-formatting default gcc libcxx asan-ubsan tsan arm64 kernel lint}
leg set-up set_up
for name in $legs; do
    case $name in
        formatting | kernel | lint) leg "$name" "$name" ;;
        *) leg "$name" build_and_test ;;
    esac
done
[ -z "$unsteady" ] || echo "== passed only when run once more:$unsteady"
