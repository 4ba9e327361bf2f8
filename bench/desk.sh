#!/bin/bash
# Measures kaveldesk beside other programs with the same lines: desk.sh BENCH_DIR [SEED [MEGABYTES]].
# The merged lines of both rounds count once, the bytes of both are read. Prints lines
# "measure NAME VALUE"; times are seconds of CPU.
set -eu
bench=$1
seed=${2:-1}
megabytes=${3:-200}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

archive=$("$bench/desk_bench" make "$work" "$seed" "$megabytes")
mkdir "$work/extracted"
tar -xzf "$archive" -C "$work/extracted"

# Prints the CPU seconds of all processes of a command.
TIMEFORMAT='%U %S'
cpu() { { time "$@" > /dev/null 2>&1; } 2>&1 | awk '{printf "%.2f\n", $1 + $2}'; }
sorted() { zcat "$archive" | LC_ALL=C sort --parallel=1; }
# Without a terminal, lnav writes all messages of its files in the order of their times.
merged_by_lnav() { HOME=$work lnav -n "$work"/extracted/data/persist_log/kavel30/*/*-2026-*.txt; }

report() { "$bench/../desk/kaveldesk" report "$small" -o "$work/page.html"; }

mkdir "$work/small"
small=$("$bench/desk_bench" make "$work/small" "$seed" 20)
report_s=$(cpu report)
page_kb=$(($(stat -c %s "$work/page.html") / 1000))
result=$("$bench/desk_bench" read "$archive")
sort_s=$(cpu sorted)
lnav_s=$(cpu merged_by_lnav)
awk -v sort="$sort_s" -v lnav="$lnav_s" -v report="$report_s" -v page="$page_kb" '{
    for (i = 1; i <= NF; i++) { split($i, pair, "="); v[pair[1]] = pair[2] }
    print "measure merge_per_mb", v["merge_s"] / v["text_mb"]
    print "measure from_archive", v["unpack_s"] + v["merge_s"]
    print "measure lnav", lnav
    print "measure sort", sort
    print "measure memory", v["rss_mb"]
    print "measure report", report
    print "measure page", page
}' <<< "$result"
