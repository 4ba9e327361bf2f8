#!/bin/sh
# Every test there is: each compiler and sanitizer leg, arm64 in emulation, the kernel test, then the
# lint. Stops at the first leg that fails. LEGS="default tsan" runs some of the legs and nothing else.
set -eu
cd "$(dirname "$0")/.."

mkdir -p build
jobs=${JOBS:-$(nproc)}
for preset in ${LEGS:-default gcc asan-ubsan tsan arm64}; do
    if [ "$preset" = arm64 ]; then
        sh scripts/setup.sh scripts/packages-arm64.txt
        scripts/arm64-sysroot.sh
    fi
    echo "== $preset: build"
    cmake --preset "$preset" > "build/$preset.log" 2>&1 || { cat "build/$preset.log"; exit 1; }
    cmake --build --preset "$preset" -j "$jobs"
    echo "== $preset: tests"
    ctest --preset "$preset" -j "$jobs" --no-tests=error
done
[ -z "${LEGS:-}" ] || exit 0
echo "== kernel test"
scripts/test-kernel.sh build/default
scripts/lint.sh
