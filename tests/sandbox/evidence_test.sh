#!/bin/bash
# Runs the demo in a phone. Would catch files of its archive that disagree about processes, threads
# or locks, an empty file, and data of this machine in the archive.

fail() {
    echo "evidence_test: $1" >&2
    exit 1
}

# Succeeds once $1 has printed two different texts.
varies() {
    local first tries
    first=$($1)
    for ((tries = 0; tries < 100; ++tries)); do
        [ "$($1)" = "$first" ] || return 0
        sleep 0.1
    done
    fail "$1 does not change"
}

/system/phone/demo | tee /tmp/demo
[ "${PIPESTATUS[0]}" = 0 ] || exit 1
# With a sanitizer the answer can come before or after the short window.
grep -qE '^    phase: [a-z]' /tmp/demo || fail 'the status of the catch is not shown'
grep -q 'waiting to lock .* held by thread' /tmp/demo || fail 'the cause is not shown'
folder=$(mktemp -d) && cd "$folder" || exit 1
tar xzf /data/persist_log/PLX/de/kavel/*.tar.gz && cd data/persist_log/kavel30/kavel_* || exit 1

thread() { # PROCESS-ID THREAD: the id of the process's thread in the archive's list
    awk -v pid="$1" -v name="$2" '$3 == pid && substr($0, length($0) - length(name)) == " " name { print $4 }' thread_list-*
}
app=$(pidof com.example.app) server=$(pidof system_server)
worker=$(thread "$app" sync-worker) stuck=$(thread "$server" "binder:${server}_3")
lock=$(sed -n '/^"main"/,/^$/s/.*waiting to lock \(<0x[0-9a-f]*>\).*/\1/p' trace_anr_*)
owner=$(sed -n "s/.*waiting to lock .* held by thread \([0-9]*\)$/\1/p" trace_anr_*)
[ -n "$worker" ] && [ -n "$stuck" ] && [ -n "$lock" ] || fail 'the threads or the lock are not there'
number='[0-9.]+'
while read -r stem expected; do
    grep -qE -- "$expected" "$stem"* || fail "$stem has no line /$expected/"
done << END
trace_anr_         ^"main" prio=5 tid=1 Blocked
trace_anr_         ^"sync-worker" prio=5 tid=$owner Native
trace_anr_         sysTid=$worker .*cgrp=background
trace_anr_         - locked $lock
trace_anr_         sysTid=$stuck .*
kavel_DumpTraces_$app  ^----- pid $server at
thread_list-       ^u:r:system_server:s0 .* $stuck .* D binder:${server}_3$
binderinfo-        outgoing transaction .* from $app:$worker to $server:$stuck
kernel-            task binder:${server}_3:$stuck blocked for more than 120 seconds
kernel-            Out of memory: Killed process 2875
android-           E ActivityManager: PID: $app$
android-           I lowmemorykiller: Kill 'com.example.maps'
events-            am_anr  : \[0,$app,com.example.app,
cpuinfo-           $number% $app/com.example.app: $number% user
meminfo-           K: com.example.app \(pid $app\)
top-               $app u0_a123 .* com.example.app
proc_meminfo-      ^MemTotal:        7812344 kB
mount-             on /data type f2fs
END
empty=$(find . -type f -size 0)
[ -z "$empty" ] || fail "empty: $empty"
! grep -rl '@{' . || fail 'a placeholder is left'
! grep -rlF "$(uname -r)" . || fail 'the kernel of this machine is in the archive'
varies 'top -n 1'
varies 'cat /proc/meminfo'

simulate crash || fail 'no crash'
grep -q "^pid: $(pidof com.android.systemui), tid: .*, name: RenderThread " /data/tombstones/tombstone_00 ||
    fail 'the tombstone names another process'
grep -qa 'com.android.systemui' /data/tombstones/tombstone_00.pb || fail 'no protobuf tombstone'
