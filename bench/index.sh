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
# Prints the seconds of a command on the clock and of its processor time.
TIMEFORMAT='%R %U %S'
seconds() { { time "$@" > /dev/null 2>&1; } 2>&1 | awk '{ print $1, $2 + $3 }'; }
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
times=
for _ in 1 2 3; do times+="$(seconds unpack) $(seconds index) "; done
awk -v archives="$archives" '{
    print "measure tar", $1, $5, $9
    print "measure tar_cpu", $2, $6, $10
    print "measure archives", $3, $7, $11
    print "measure archives_cpu", $4, $8, $12
    print "measure rate", archives / $3, archives / $7, archives / $11
}' <<< "$times"
"$build/bench/index_bench" rows "$work/rows.db" "$rows"
echo "measure bytes_per_catch $(awk -v n="$rows" -v size="$(stat -c %s "$work/rows.db")" 'BEGIN { print size / n }')"
"$build/bench/index_bench" questions "$work/rows.db"
"$build/pages.py" "$build/desk/kaveldesk" "$work/rows.db"
