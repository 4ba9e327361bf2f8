#!/bin/bash
# Whole-process figures. Runs inside the phone: bench/in_phone.sh BENCH_DIR.
set -u
bench=$1
idle_seconds=${KAVEL_BENCH_IDLE:-30}

until kavelctl set 0x999 --name bench --window 1 > /dev/null 2>&1; do sleep 0.1; done
daemon=$(pidof dravo_kavel)

switches() { cat /proc/"$1"/task/*/status | awk '/ctxt_switches/ {n += $2} END {print n}'; }
ticks() { awk '{print $14 + $15}' /proc/"$1"/stat; }
rss() { awk '/^VmRSS/ {print $2}' /proc/"$1"/status; }

# One report first, so that the pools and the handler exist as in daily life.
kavelctl send 0x402 > /dev/null
kavelctl set 0x402 --name bench2 > /dev/null && kavelctl send 0x402 > /dev/null
sleep 2
threads=$(ls /proc/"$daemon"/task | wc -l)
"$bench/bench_empty_process" "$threads" &
empty=$!
sleep 1
before_switches=$(switches "$daemon") before_ticks=$(ticks "$daemon")
sleep "$idle_seconds"
echo "idle ${idle_seconds}s: wake-ups $(($(switches "$daemon") - before_switches)), cpu ticks $(($(ticks "$daemon") - before_ticks))"
awk -v d="$(rss "$daemon")" -v e="$(rss "$empty")" -v t="$threads" \
    'BEGIN {printf "rss: daemon %d kB, empty process with %d threads %d kB, ratio %.2f (budget 1.15)\n", d, t, e, d / e}'
kill "$empty"

# The commands that complain of a desktop's /proc say the same in both.
"$bench/catch_bench" 2> /dev/null
