#!/bin/sh
# Would catch an include check that misses a kind of violation, or reports what is allowed.
# usage: check_includes_test.sh CHECK_INCLUDES

check=$1
tree=$(mktemp -d) || exit 1
trap 'rm -rf "$tree"' EXIT
failures=0

expect() {  # EXIT_CODE OUTPUT ARGUMENT
    actual=$("$check" "$3" 2>/dev/null; echo "exit $?")
    [ "$actual" = "${2:+$2
}exit $1" ] && return
    printf -- '--- expected %s\n%s\n--- got\n%s\n' "$1" "$2" "$actual"
    failures=1
}

source_of() {  # FILE INCLUDE...
    mkdir -p "$(dirname "$tree/$1")"
    file=$tree/$1 && shift
    printf '#include %s\n' "$@" >"$file"
}

source_of tools/sub/a.cpp '"dump/LogCommands.h"' '"dump/LogFolderName.h"'
mkdir "$tree/empty"
expect 0 '' "$tree"
expect 2 '' "$tree/empty"
for folder in core tests/core tests/host_x; do
    source_of $folder/a.cpp '<vector>' "\"$folder/A.h\"" '"platform/A.h"' '"host/A.h"' '"bench/A.h"'
    echo '// #include "bench/A.h"' >>"$tree/$folder/a.cpp"
done
source_of event/a.h '"KavelEvent.h"' '"event/../dump/A.h"'
echo '  #  include <handler/A.h>' >>"$tree/event/a.h"
source_of host/a.cpp '"platform/Sleep.h"' '"platform/Sleep.hpp"'
for folder in stray build/dump .git; do source_of $folder/a.cpp '"core/A.h"'; done
expect 1 'core/a.cpp:4: core may not include "host/A.h"
core/a.cpp:5: core may not include "bench/A.h"
event/a.h:1: "KavelEvent.h" is not written from the root of the repository
event/a.h:2: "event/../dump/A.h" is not written from the root of the repository
event/a.h:3: event may not include "handler/A.h"
host/a.cpp:2: host may not include "platform/Sleep.hpp"
stray/a.cpp:1: its folder has no row in include_rules.txt
tests/core/a.cpp:4: tests may not include "host/A.h"
tests/core/a.cpp:5: tests may not include "bench/A.h"
tests/host_x/a.cpp:5: tests/host_* may not include "bench/A.h"' "$tree"
expect 2 '' --bogus
exit $failures
