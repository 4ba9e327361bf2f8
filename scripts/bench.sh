#!/bin/bash
# Compares measurements with their budgets, each relative to a reference in the same run. Uses the
# median of CPU or real time over several repetitions. On a busy machine only the ratios are
# reliable.
set -eu
cd "$(dirname "$0")/.."

sh scripts/setup.sh scripts/packages-bench.txt
build=build/bench
cmake --preset default -B $build -DKAVEL_BENCH=ON -DBUILD_TESTING=ON > /dev/null
cmake --build $build -j "${JOBS:-$(nproc)}"

# ratio PROGRAM COLUMN OURS PEER BUDGET: COLUMN is real_time or cpu_time
ratio() {
    "$build/bench/$1" --benchmark_filter="^($3|$4)(/(real|manual)_time)?$" \
        --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true \
        --benchmark_report_aggregates_only --benchmark_format=csv \
        2> /dev/null |
        awk -F, -v column="$2" -v ours="$3" -v peer="$4" -v budget="$5" '
            /^name,/ {for (i = 1; i <= NF; i++) if ($i == column) c = i}
            /_median"/ {name = $1; gsub(/"|(\/(real|manual)_time)?_median.*/, "", name); v[name] = $c; unit = $5}
            END {printf "%-34s %10.1f   %-20s %10.1f %s   ratio %.2f (budget %s)\n", ours, v[ours], peer, v[peer], unit, v[ours] / v[peer], budget}'
}

# A system report with the plugins that collect the same data as a catch: packages, mounts, kernel
# log, logs, memory, processes, processor, properties.
system_report() {
    local out started times=() run
    out=$(mktemp -d)
    for run in 1 2 3; do
        started=${EPOCHREALTIME/./}
        sos report --batch --quiet --compression-type gzip --tmp-dir "$out" \
            --only-plugins dpkg,filesys,kernel,logs,memory,process,processor,system > /dev/null 2>&1 || return
        times+=($((${EPOCHREALTIME/./} - started)))
    done
    rm -rf "$out"
    printf '%s\n' "${times[@]}" | sort -n | sed -n '2s/...$//p'
}

ratio pool_bench real_time kavelPool asioPool 1.0
ratio pool_bench real_time kavelBurst xargsBurst 1.05
ratio shell_bench real_time kavelShell librarySystem 1.0
ratio handling_bench cpu_time handleEvent logLinesAlone 1.2
"$build/bench/handling_bench" --benchmark_filter=keptPerEvent 2> /dev/null | grep -o 'bytes_kept_per_event=.*' |
    sed 's/$/ (budget 512)/'
ratio dig_bench real_time fortyLive bareReceive 1.4
ratio kevent_bench real_time daemonReceives/packetOnly libnlReceiveAndParse 1.0
ratio kevent_bench real_time daemonReceives/andHandles libnlReceiveAndParse "none: libnl reads no text"
"$build/bench/kevent_bench" --benchmark_filter='burstLoss/raised:1' 2> /dev/null | grep -o 'burst.*' |
    sed 's/$/ (budget 0)/'

"$build/desk.sh" "$build/bench"

phone=$build/host/phone/phone
report=$($phone run --dir $build/phone --fresh -- "$PWD/$build/in_phone.sh" "$PWD/$build/bench")
echo "$report"
if [ "$(id -u)" = 0 ]; then
    system_report | awk -v catch="$(sed -n 's/^catch and pack: daemon \([0-9]*\) .*/\1/p' <<< "$report")" \
        '{printf "catch and pack: daemon %d ms, sos report %d ms, %.1f times as fast (budget 5)\n", catch, $1, $1 / catch}'
else
    echo "catch and pack: not compared with sos report, which only runs as root"
fi
