#!/bin/sh
# Catches an include check that has gone blind: each row of the table must fire, and only then.
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

# Every room includes one header of every room.
rooms='core handler recovery dump event dig platform host tools tests bench'
for room in $rooms tests/host_x; do
    mkdir -p "$tree/$room"
    {
        echo '#include <vector>'
        for other in $rooms; do echo "#include \"$other/A.h\""; done
        echo '// #include "host/A.h"'
    } >"$tree/$room/a.cpp"
done
violations() {  # ROOM OTHER... in the order of the lines
    room=$1
    shift
    line=1
    for other in $rooms; do
        line=$((line + 1))
        case " $* " in
            *" $other "*) echo "$room/a.cpp:$line: $room may not include \"$other/A.h\"" ;;
        esac
    done
}
expected=$(
    violations bench host
    violations core host tools tests bench
    violations dig core handler recovery dump event host tools tests bench
    violations dump core handler recovery dig host tools tests bench
    violations event core handler recovery dump dig host tools tests bench
    violations handler core dig host tools tests bench
    violations host core handler recovery dump event dig platform tools tests bench
    violations platform core handler recovery dump event dig host tools tests bench
    violations recovery core handler dump event dig host tools tests bench
    violations tests host bench
    violations tests/host_x bench | sed 's/: tests.host_x/: tests\/host_*/'
    violations tools core handler recovery dump dig host tests bench
)
actual=$("$check" "$tree")
expect 'exit code of violations' 1 $?
expect 'one include each way' "$expected" "$actual"

# The same by other spellings, a folder without a row, and the single headers that are allowed.
rm -rf "${tree:?}"/*
mkdir -p "$tree/event" "$tree/host" "$tree/tools/sub" "$tree/stray" "$tree/build/dump" "$tree/.git"
printf '  #  include <handler/A.h>\n#include "KavelEvent.h"\n#include "event/../dump/A.h"\n' \
    >"$tree/event/a.h"
printf '#include "platform/Sleep.h"\n#include "platform/Sleep.hpp"\n' >"$tree/host/a.cpp"
printf '#include "dump/LogCommands.h"\n#include "dump/LogFolderName.h"\n' >"$tree/tools/sub/a.cpp"
for hidden in stray build/dump .git; do echo '#include "core/A.h"' >"$tree/$hidden/a.cpp"; done
expect 'other spellings' 'event/a.h:1: event may not include "handler/A.h"
event/a.h:2: "KavelEvent.h" is not written from the root of the repository
event/a.h:3: "event/../dump/A.h" is not written from the root of the repository
host/a.cpp:2: host may not include "platform/Sleep.hpp"
stray/a.cpp:1: its folder has no row in include_rules.txt' "$("$check" "$tree")"

rm -rf "${tree:?}/event" "${tree:?}/stray" "$tree/host/a.cpp"
actual=$("$check" "$tree")
expect 'exit code of a clean tree' 0 $?
expect 'a clean tree' '' "$actual"
rm -rf "${tree:?}/tools"
"$check" "$tree" 2>/dev/null
expect 'exit code of a tree without sources' 2 $?
"$check" --bogus 2>/dev/null
expect 'exit code of bad usage' 2 $?
exit $failures
