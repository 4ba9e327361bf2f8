#!/bin/bash
# Measures against the budgets, each figure beside its peer in the same run. Medians of CPU or real
# time over repetitions; on a busy machine only the ratios mean anything.
set -eu
cd "$(dirname "$0")/.."

build=build/bench
cmake --preset default -B $build -DKAVEL_BENCH=ON -DBUILD_TESTING=ON > /dev/null
cmake --build $build -j "${JOBS:-$(nproc)}"

# ratio PROGRAM COLUMN OURS PEER BUDGET: COLUMN is real_time or cpu_time
ratio() {
    "$build/bench/$1" --benchmark_filter="^($3|$4)(/|$)" --benchmark_repetitions=7 \
        --benchmark_report_aggregates_only --benchmark_format=csv 2> /dev/null |
        awk -F, -v column="$2" -v ours="$3" -v peer="$4" -v budget="$5" '
            /^name,/ {for (i = 1; i <= NF; i++) if ($i == column) c = i}
            /_median"/ {name = $1; gsub(/"/, "", name); sub(/[\/_](real_time_)?median.*/, "", name); sub(/\/.*/, "", name); v[name] = $c; unit = $5}
            END {printf "%-16s %10.1f   %-16s %10.1f %s   ratio %.2f (budget %s)\n", ours, v[ours], peer, v[peer], unit, v[ours] / v[peer], budget}'
}

ratio pool_bench real_time kavelPool asioPool 1.0
ratio shell_bench real_time kavelShell librarySystem 1.0
ratio handling_bench cpu_time handleEvent logLinesAlone 1.2
"$build/bench/handling_bench" --benchmark_filter=keptPerEvent 2> /dev/null | grep -o 'bytes_kept_per_event=.*' |
    sed 's/$/ (budget 512)/'
"$build/host/phone/phone" run --dir $build/phone --fresh -- "$PWD/$build/in_phone.sh" "$PWD/$build/bench"
