#!/bin/sh
# Compiles the sources of the daemon and of kavelctl like the phone's build: for arm64, with libc++,
# the flags of Android.bp, those that Soong adds, and its integer sanitizers. Only warnings matter, so no
# code is made. The C library is Debian's, so this does not check against bionic. Then compiles all sources
# in Android.bp like the build's variants for the build machine.
set -eu
cd "$(dirname "$0")/.."

sysroot=build/arm64-sysroot
# Flags that Soong adds to each device module (build/soong/cc/config), if this clang supports them.
soong="-O2 -DANDROID -DNDEBUG -UDEBUG -fno-exceptions -fno-rtti -ffunction-sections -fdata-sections
    -fstack-protector-strong -fvisibility-inlines-hidden -D_FORTIFY_SOURCE=2
    -Waddress -Waddress-of-temporary -Wbool-operation -Wdate-time -Wformat-insufficient-args
    -Wformat-security -Wimplicit-fallthrough -Wimplicit-int-float-conversion -Winit-self
    -Wint-conversion -Wint-in-bool-context -Wint-to-pointer-cast -Wnon-virtual-dtor -Wpointer-arith
    -Wpointer-to-int-cast -Wpragma-pack -Wpragma-pack-suspicious-include -Wreturn-type
    -Wsequence-point -Wsign-promo -Wsizeof-array-div -Wstring-plus-int -Wunguarded-availability
    -Wunreachable-code-loop-increment -Wxor-used-as-pow"
# Expansion of "integer_overflow" and "misc_undefined" in Android.bp.
sanitizers=signed-integer-overflow,unsigned-integer-overflow
sanitizers=$sanitizers,implicit-signed-integer-truncation,implicit-unsigned-integer-truncation

module=$(sed -n '/name: "dravo_kavel_defaults"/,/^}/ {/cflags/,/]/ s/^ *"\(.*\)",.*/\1/p}' Android.bp)
sources=$(cut -d ' ' -f 2 build/lint/tests/structure/sources.txt | grep -v '^tests/' | sort -u)
if [ -z "$module" ] || [ -z "$sources" ]; then
    echo "check_phone.sh: nothing to compile" >&2
    exit 1
fi

# Reads paths from standard input and compiles each with the arguments and the common flags: alone, because
# a file can lack an include that only libc++ needs.
compile() {
    xargs -P "${JOBS:-$(nproc)}" -I{} clang++ {} -fsyntax-only -stdlib=libc++ -std=c++17 -DKAVEL_VERSION='"0"' \
        -DKAVELCTL_VERSION='"0"' -I. "$@"
}

# shellcheck disable=SC2086 # lists are meant to be split
printf '%s\n' $sources | compile --target=aarch64-linux-gnu --sysroot=$sysroot \
    -isystem host/overlay -isystem $sysroot/usr/include/android -isystem $sysroot/usr/include/jsoncpp \
    $soong $module -fsanitize=$sanitizers -fsanitize-trap=$sanitizers

# Variants for the build machine, including tests, use headers of glibc 2.17, Linux 3.8 and an older
# googletest. Declarations that these lack are removed from this machine's headers.
# shellcheck disable=SC2012,SC2046 # patterns
ls $(sed -n 's/^ *"\(.*\.cpp\)",*$/\1/p' Android.bp) |
    compile -isystem tests/structure/old_headers -isystem host/overlay \
        -isystem /usr/include/android -isystem /usr/include/jsoncpp
