#!/bin/sh
# Catches an include check that has gone blind: each kind of row must fire, and only then.
# usage: check_includes_test.sh CHECK_INCLUDES

check=$1
tree=$(mktemp -d) || exit 1
trap 'rm -rf "$tree"' EXIT
failures=0

expect() {  # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] && return
    printf '%s\n--- expected\n%s\n--- got\n%s\n' "$1" "$2" "$3"
    failures=1
}

# An ordinary row, a pattern of folders, other spellings, a folder without a row, and the
# single headers that are allowed.
mkdir -p "$tree/core" "$tree/tests/core" "$tree/tests/host_x" \
    "$tree/event" "$tree/host" "$tree/tools/sub" "$tree/stray" "$tree/build/dump" "$tree/.git"
for folder in core tests/core tests/host_x; do
    printf '#include <vector>\n#include "%s/A.h"\n' "$folder" >"$tree/$folder/a.cpp"
    for other in platform host bench; do echo "#include \"$other/A.h\""; done >>"$tree/$folder/a.cpp"
    echo '// #include "bench/A.h"' >>"$tree/$folder/a.cpp"
done
printf '  #  include <handler/A.h>\n#include "KavelEvent.h"\n#include "event/../dump/A.h"\n' \
    >"$tree/event/a.h"
printf '#include "platform/Sleep.h"\n#include "platform/Sleep.hpp"\n' >"$tree/host/a.cpp"
printf '#include "dump/LogCommands.h"\n#include "dump/LogFolderName.h"\n' >"$tree/tools/sub/a.cpp"
for hidden in stray build/dump .git; do echo '#include "core/A.h"' >"$tree/$hidden/a.cpp"; done
actual=$("$check" "$tree")
expect 'exit code of violations' 1 $?
expect 'violations' 'core/a.cpp:4: core may not include "host/A.h"
core/a.cpp:5: core may not include "bench/A.h"
event/a.h:1: event may not include "handler/A.h"
event/a.h:2: "KavelEvent.h" is not written from the root of the repository
event/a.h:3: "event/../dump/A.h" is not written from the root of the repository
host/a.cpp:2: host may not include "platform/Sleep.hpp"
stray/a.cpp:1: its folder has no row in include_rules.txt
tests/core/a.cpp:4: tests may not include "host/A.h"
tests/core/a.cpp:5: tests may not include "bench/A.h"
tests/host_x/a.cpp:5: tests/host_* may not include "bench/A.h"' "$actual"

rm -rf "${tree:?}/core" "${tree:?}/tests" "${tree:?}/event" "${tree:?}/stray" "$tree/host/a.cpp"
actual=$("$check" "$tree")
expect 'exit code of a clean tree' 0 $?
expect 'a clean tree' '' "$actual"
rm -rf "${tree:?}/tools"
"$check" "$tree" 2>/dev/null
expect 'exit code of a tree without sources' 2 $?
"$check" --bogus 2>/dev/null
expect 'exit code of bad usage' 2 $?
exit $failures
