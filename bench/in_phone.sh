#!/bin/bash
# Measures the whole daemon process. Runs in the simulated phone: in_phone.sh BENCH_DIR IDLE_SECONDS
# [RUNS]. Without RUNS, measures only the idle daemon; with it, RUNS catches and RUNS starts too.
# Prints lines "measure NAME VALUE...".
set -u
bench=$1
idle_seconds=$2
runs=${3:-}

until kavelctl set 0x999 --name bench --window 1 > /dev/null 2>&1; do sleep 0.1; done
daemon=$(pidof dravo_kavel)

switches() { cat /proc/"$1"/task/*/status | awk '/ctxt_switches/ {n += $2} END {print n}'; }
ticks() { awk '{print $14 + $15}' /proc/"$1"/stat; }
rss() { awk '/^VmRSS/ {print $2}' /proc/"$1"/status; }
private() { awk '/^Private_(Clean|Dirty)/ {n += $2} END {print n}' /proc/"$1"/smaps_rollup; }

# Starts an empty process with $1 threads, the pid of which is then in $empty.
start_empty() {
    "$bench/bench_empty_process" "$1" &
    empty=$!
    until [ "$(ls /proc/$empty/task | wc -l)" = "$1" ]; do sleep 0.1; done
}

# The first reports create the handler and the pools, as in normal use.
kavelctl send 0x402 > /dev/null
kavelctl set 0x402 --name bench2 > /dev/null && kavelctl send 0x402 > /dev/null
sleep 2
threads=$(ls /proc/"$daemon"/task | wc -l)
start_empty "$threads"
before_switches=$(switches "$daemon") before_ticks=$(ticks "$daemon")
sleep "$idle_seconds"
echo "measure idle_wakeups $(($(switches "$daemon") - before_switches))"
echo "measure idle_ticks $(($(ticks "$daemon") - before_ticks))"
echo "measure rss $(rss "$daemon")"
echo "measure rss_empty $(rss "$empty")"
kill "$empty"
[ -n "$runs" ] || exit 0

# Errors of the commands, about a desktop's /proc, are the same for both.
"$bench/catch_bench" "$runs" 2> /dev/null

# Memory of catches whose windows are open and whose first round has ended.
catches=$((2 * runs))
warm_up=5  # until all threads of the pool have worked
children() { cat /proc/"$daemon"/task/*/children; }
await_round() {
    until [ "$(ls /data/persist_log/kavel30 | wc -l)" = "$1" ]; do sleep 0.1; done
    local quiet
    for ((quiet = 0; quiet < 10; quiet++)); do
        [ -z "$(children)" ] || quiet=0
        sleep 0.05
    done
}
# Reports an abnormal action, which gets its own log folder unless the event list has another one:
# 31 further events remove it from the list.
catch_on() {
    kavelctl send 0xF01 --log-info 0x3 > /dev/null
    for ((fill = 0; fill < 31; fill++)); do kavelctl send 0x402 > /dev/null; done
}
kavelctl set 0xF01 --name catch --enable --window 600000 > /dev/null
"$bench/fill_binder_pool" "$daemon"
for ((i = 0; i < warm_up; i++)); do catch_on; done
await_round $warm_up
before=$(private "$daemon")
for ((i = 0; i < catches; i++)); do catch_on; done
await_round $((warm_up + catches))
per_catch() { awk -v n=$catches -v used=$(($2 - $1)) 'BEGIN {print used / n}'; }
echo "measure memory_per_catch $(per_catch "$before" "$(private "$daemon")")"
start_empty 1
before=$(private "$empty")
kill "$empty"
start_empty $((catches + 1))
echo "measure memory_per_thread $(per_catch "$before" "$(private "$empty")")"
kill "$empty"

setprop ctl.stop dravo_kavel
while kill -0 "$daemon" 2> /dev/null; do sleep 0.1; done
rm -rf /data/persist_log/kavel30/*
"$bench/start_bench" "$(command -v dravo_kavel)" "$bench/bench_empty_process" "$runs" 2> /dev/null
