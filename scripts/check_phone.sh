#!/bin/sh
# Compiles the sources of the daemon and of kavelctl as the phone's build does: arm64, libc++, the
# flags of Android.bp, those that Soong adds, and its integer sanitizers. Code is made and thrown away.
# What this cannot show is bionic: the C library is Debian's. Then all that Android.bp names is compiled
# as its variants for the build machine are.
set -eu
cd "$(dirname "$0")/.."

sysroot=build/arm64-sysroot
# What Soong gives to every module of a device (build/soong/cc/config), as far as this clang knows it.
soong="-O2 -DANDROID -DNDEBUG -UDEBUG -fno-exceptions -fno-rtti -ffunction-sections -fdata-sections
    -fstack-protector-strong -fvisibility-inlines-hidden -D_FORTIFY_SOURCE=2
    -Waddress -Waddress-of-temporary -Wbool-operation -Wdate-time -Wformat-insufficient-args
    -Wformat-security -Wimplicit-fallthrough -Wimplicit-int-float-conversion -Winit-self
    -Wint-conversion -Wint-in-bool-context -Wint-to-pointer-cast -Wnon-virtual-dtor -Wpointer-arith
    -Wpointer-to-int-cast -Wpragma-pack -Wpragma-pack-suspicious-include -Wreturn-type
    -Wsequence-point -Wsign-promo -Wsizeof-array-div -Wstring-plus-int -Wunguarded-availability
    -Wunreachable-code-loop-increment -Wxor-used-as-pow"
# What "integer_overflow" and "misc_undefined" of Android.bp turn into.
sanitizers=signed-integer-overflow,unsigned-integer-overflow
sanitizers=$sanitizers,implicit-signed-integer-truncation,implicit-unsigned-integer-truncation

module=$(sed -n '/name: "dravo_kavel_defaults"/,/^}/ {/cflags/,/]/ s/^ *"\(.*\)",.*/\1/p}' Android.bp)
sources=$(cut -d ' ' -f 2 build/default/tests/structure/sources.txt | grep -v '^tests/' | sort -u)
if [ -z "$module" ] || [ -z "$sources" ]; then
    echo "check_phone.sh: nothing to compile" >&2
    exit 1
fi

# Reads paths and compiles each with the arguments and what every variant has.
compile() {
    xargs -P "${JOBS:-$(nproc)}" -I{} clang++ {} -stdlib=libc++ -std=c++17 -DKAVELCTL_VERSION='"0"' -I. "$@"
}

# shellcheck disable=SC2086 # lists are meant to be split
printf '%s\n' $sources | compile -c -o /dev/null --target=aarch64-linux-gnu --sysroot=$sysroot \
    -isystem host/overlay -isystem $sysroot/usr/include/android -isystem $sysroot/usr/include/jsoncpp \
    $soong $module -fsanitize=$sanitizers -fsanitize-trap=$sanitizers

# Variants for the build machine, tests with them, are compiled with headers of glibc 2.17, Linux 3.8
# and an older googletest. What these lack is taken out of this machine's headers.
# shellcheck disable=SC2012,SC2046 # patterns
ls $(sed -n 's/^ *"\(.*\.cpp\)",*$/\1/p' Android.bp) |
    compile -fsyntax-only -isystem tests/structure/old_headers -isystem host/overlay \
        -isystem /usr/include/android -isystem /usr/include/jsoncpp
