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

# Catch and pack without the waits: the same commands from a plain script, five at a time.
MASK=0x1bebf9b
kavelctl explain $MASK --json > /tmp/explain.json
plain() {
    local folder=/tmp/plain
    mkdir -p $folder
    grep -o '"command" : "[^"]*"' /tmp/explain.json |
        sed "s/\"command\" : \"//; s/\"$//; s#FOLDER#$folder#; s#TIME#t#" |
        tr '\n' '\0' | xargs -0 -P5 -I{} sh -c '{}' > /dev/null 2>&1
    tar czf $folder.tar.gz $folder/* 2> /dev/null
    rm -rf $folder $folder.tar.gz
}
TIMEFORMAT=%R
for _ in 1 2 3 4 5; do { time plain; } 2>&1; done | sort -n | sed -n 3p |
    sed 's/^/plain script, same commands, five at a time, and tar (median of 5): /; s/$/ s/'
