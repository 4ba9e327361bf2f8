#!/bin/sh
# Would catch a source that is missing in one of the builds, listed twice or part of another program, a
# stand-in in the phone's build, and the code that crashes the kernel in a build for the build machine.
# usage: android_bp_test.sh ROOT CMAKE_SOURCES VERSION; CMAKE_SOURCES has lines of TARGET SOURCE

cmake_sources=$2
version=$3
missing=
failures=0
cd "$1" && work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
fail() { echo "$*"; failures=1; }

# Android.bp as lines of MODULE PROPERTY TEXT, one for each text.
texts=$(LC_ALL=C awk '
    /^ *\/\// { next }
    /^[a-z]/ { module = $1 }
    /^    name:/ { split($0, parts, "\""); module = parts[2] }
    /^        android: / { where = "android." }
    /^    }/ { where = "" }
    /^ *[a-z_]+: / { property = where $1 }
    { for (i = split($0, parts, "\"") - 1; i > 1; i -= 2) print module, property, parts[i] }
' Android.bp)
texts_of() { echo "$texts" | sed -n "s/^$1 //p"; }

# Sources in the order of their names; one that is named twice comes twice.
phone() { for module; do texts_of "$module \(android\.\)*srcs:"; done | sort; }
cmake() { for target; do sed -n "s/^$target //p" "$cmake_sources"; done | sort; }

same() {  # WHAT LEFT RIGHT
    [ -n "$2" ] && [ "$2" = "$3" ] && return
    fail "$1: < is only in the first, > only in the second"
    echo "$2" >"$work/left"
    echo "$3" | diff "$work/left" - | grep '^[<>]'
}

same "libdravo_kavel and CMake" "$(phone libdravo_kavel)" "$(cmake kavel kavel_sysrq_trigger)"
same "dravo_kavel and CMake" "$(phone dravo_kavel)" "$(cmake dravo_kavel)"
same "libkavelctl and CMake" "$(phone libkavelctl)" "$(cmake kavelctl_lib)"
same "kavelctl and CMake" "$(phone kavelctl)" "$(cmake kavelctl)"
same "the daemon's modules and the disk" "$(phone libdravo_kavel dravo_kavel)" \
    "$(for folder in core dig dump event handler platform recovery; do ls $folder/*.cpp; done | sort)"
# Only CMake has the tests that read golden files, the tests of kavelctl that need a service, and those
# that need their own /data.
# shellcheck disable=SC2013  # names are words
for module in $(sed -n '/^cc_\(test\|fuzz\)/,/^}/s/^    name: "\(.*\)",/\1/p' Android.bp); do
    case $module in *_defaults) continue ;; esac
    grep -q "^$module " "$cmake_sources" || { missing="$missing $module"; continue; }
    portable=$(cmake "$module" | grep '^tests/' | xargs grep -LE 'KAVEL_GOLDEN_DIR|fake/(Script|Series).h' |
        grep -vxE 'tests/tools/StreamTest.cpp|tests/fake/OwnData.cpp' | sort)
    # shellcheck disable=SC2046  # patterns
    same "$module and CMake" "$(ls $(phone "$module"))" "$portable"
    # A 32-bit compiler has no 128-bit integers.
    for defaults in "$module" $(texts_of "$module defaults:"); do
        texts_of "$defaults compile_multilib:"
    done | grep -qx 64 || fail "$module has 32-bit variants"
done
case $missing in '' | ' raw_record_fuzzer tar_reader_fuzzer kevent_fuzzer') ;; *) fail "CMake has no$missing" ;; esac
for source in $(cmake kavel_sysrq_trigger); do
    texts_of 'libdravo_kavel android\.srcs:' | grep -qxF "$source" ||
        fail "$source is not only in the phone's build"
done
for file in $(texts_of "[a-z_]* \(\(android\.\)*srcs\|init_rc\|corpus\|dictionary\):"); do
    case $file in host/*) fail "Android.bp names $file" ;; esac
    [ -e "$file" ] || fail "Android.bp: there is no $file"  # the shell has replaced the patterns
done
for name in KAVEL KAVELCTL; do
    grep -qF "cflags: [\"-D${name}_VERSION=\\\"$version\\\"\"]," Android.bp ||
        fail "${name}_VERSION in Android.bp is not $version"
done
# init has to find the daemon in the partition that it is installed in.
awk '/^}/ { module = "" } /^    name:/ { module = $2 } module == "\"dravo_kavel\"," ' Android.bp |
    grep -qx '    system_ext_specific: true,' || fail 'dravo_kavel is in another partition'
grep -qx 'service dravo_kavel /system_ext/bin/dravo_kavel' \
    "$(texts_of 'dravo_kavel init_rc:')" || fail 'init does not start dravo_kavel from system_ext'
exit $failures
