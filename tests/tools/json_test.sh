#!/bin/bash
# Reads the JSON of each command with jq. Would catch a document without a version, a time without
# an offset, a document that is not JSON, and a command with --json that is not in the table.
# Usage: json_test.sh KAVELCTL...
# shellcheck disable=SC2016  # $time is jq's
set -u
# shellcheck disable=SC2317  # the trap calls it
cleanup() { rm -rf "$work"; }
work=$(mktemp -d) && trap cleanup EXIT
failures=0
fail() {
    echo "$1" >&2
    failures=$((failures + 1))
}

name=kavel_anr_com.a@831be687eb45bbc0@V1@2024-03-07-10-05-02-007
mkdir -p "$work/pack/$name" "$work/dir" "$work/in"
cd "$work/pack" || exit 1
echo 'EventType:anr,Timestamp:2024-03-07-10-05-02-007,loginfo:3,eventID:7' > "$name/kavel_history.txt"
echo '{"utc":"u","local":"2024-03-07T10:05:02.007+01:00","recordId":7,"eventId":"0x1","name":"anr","pid":1,"uid":2,"process":"com.a","version":"","type":"","mask":"0x3"}' \
    > "$name/kavel_events.txt"
tar czf "../dir/$name.tar.gz" "$name" || exit 1
echo '{"time":"2024-03-07T10:05:02.007+01:00","tag":"t","event":"e","data":[["a","1"],["b","2"],["a","3"]]}' \
    > "$work/s.jsonl"

# A time of the archive, at any place in the document.
time='"2024-03-07T10:05:02.007+01:00"'
tested=' '
# Runs a command, and checks its document and the given condition of jq.
check() {
    local condition=$1 document
    shift
    tested+="$1 "
    document=$(timeout 300 "${kavelctl[@]}" "$@" --json 2> /dev/null)
    jq -e --argjson time "$time" ".format == 1 and ($condition)" <<< "$document" > /dev/null 2>&1 ||
        fail "kavelctl $* --json: not $condition in $document"
}
kavelctl=("$@")
dir=(--dir "$work/dir")
archive='.process == "com.a" and .event == "anr" and .time == $time and .size > 0'
check ".archives[0] | $archive and .index == -1 and has(\"events\") == false" list "${dir[@]}"
check ".archives[0] | $archive and .events[0].local == \$time and .processes == [\"com.a\"]" list --check "${dir[@]}"
check "$archive and .history[0].time == \$time and .files[0].size > 0" show -1 "${dir[@]}"
check '.archives[0] | .good == false and (.missing | length) == 2 and .broken == null' verify "${dir[@]}"
check '.dryRun and .removed[0].size == .freed and .kept == 0' prune --keep 0 --dry-run "${dir[@]}"
check '.bits[0].name == "ANDROID"' explain 1
check '.eventTypes | length > 20' explain --event
check '.statistics[0] | .time == $time and .data == {"a": ["1", "3"], "b": "2"}' stats --file "$work/s.jsonl"

# What follows something prints one document on each line.
coproc watch { exec "${kavelctl[@]}" watch --json "${dir[@]}" --file "$work/s.jsonl" 2> "$work/note"; }
watch_pid=$!
until [ -s "$work/note" ]; do sleep 0.05; done
statistic=$(cat "$work/s.jsonl")
echo "$statistic" >> "$work/s.jsonl"
read -r -t 300 -u "${watch[0]}" line
jq -e '.format == 1 and .statistic.data.b == "2"' <<< "$line" > /dev/null || fail "watch --json: $line"
cp "$work/dir/$name.tar.gz" "$work/in" && mv "$work/in/$name.tar.gz" "$work/dir/$name.2.tar.gz"
read -r -t 300 -u "${watch[0]}" line
jq -e --argjson time "$time" ".format == 1 and (.archive | $archive)" <<< "$line" > /dev/null ||
    fail "watch --json: $line"
kill "$watch_pid"
(
    while cp "$work/dir/$name.tar.gz" "$work/in"; do
        mv "$work/in/$name.tar.gz" "$work/dir/$name.3.tar.gz"
        sleep 0.1
    done
) 2> /dev/null &
mover=$!
check "$archive and .sequence == 3" wait "${dir[@]}"
kill "$mover"
wait "$mover" 2> /dev/null

# Those that need a running daemon are tested in the simulated phone.
tested+='watch status why '
for command in $("${kavelctl[@]}" --help | sed -n '/^commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    "${kavelctl[@]}" "$command" --help | grep -q -- '--json' || continue
    [[ $tested == *" $command "* ]] || fail "no test reads the JSON of kavelctl $command"
done
[ "$failures" = 0 ]
