#!/bin/bash
# Measures kaveldesk's index: index.sh BUILD_DIR [ARCHIVES [ROWS]]. Prints lines "measure NAME VALUE".
#
# Each archive holds 2 MB of logs. tar unpacks them with as many processes at once as kaveldesk has
# threads; both write to the same disk, and their turns alternate.
set -eu
build=$1
archives=${2:-300}
rows=${3:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/archives"
"$build/bench/index_bench" archives "$work/archives" "$archives" 2000
seconds() {
    local start=$EPOCHREALTIME
    "$@" > /dev/null
    awk -v from="$start" -v to="$EPOCHREALTIME" 'BEGIN { printf "%.3f ", to - from }'
}
index() {
    rm -f "$work"/index.db*
    "$build/desk/kaveldesk" index "$work/archives" --db "$work/index.db"
}
unpack() {
    rm -rf "$work/unpacked"
    mkdir "$work/unpacked"
    find "$work/archives" -type f -print0 |
        xargs -0 -n 1 -P "$(nproc)" tar -C "$work/unpacked" -xzf
}
index_times='' unpack_times=''
for _ in 1 2 3; do
    unpack_times+=$(seconds unpack)' '
    index_times+=$(seconds index)' '
done
echo "measure archives $index_times"
echo "measure tar $unpack_times"
echo "measure rate $(awk -v n="$archives" '{ print n / $1, n / $2, n / $3 }' <<< "$index_times")"
"$build/bench/index_bench" rows "$work/rows.db" "$rows"
echo "measure bytes_per_catch $(awk -v n="$rows" -v size="$(stat -c %s "$work/rows.db")" 'BEGIN { print size / n }')"
"$build/bench/index_bench" questions "$work/rows.db"
