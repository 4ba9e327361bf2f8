# shellcheck shell=sh disable=SC2034,SC2154
# Functions for the checks.

LOG=/dev/log/main
STATISTICS=/data/persist_log/PLX/statistics.jsonl
CONTROL=/sys/module/kavel_monitor/parameters/control

now_ms() {
    read -r up _ < /proc/uptime
    echo "${up%.*}${up#*.}0"
}

# Waits until the command succeeds; false after $1 seconds.
wait_for() {
    end=$(($(now_ms) + $1 * 1000))
    shift
    until "$@" > /dev/null 2>&1; do
        [ "$(now_ms)" -lt "$end" ] || return 1
        sleep 0.05
    done
}

# Keeps the reason why the check fails; false, so that it can be its last command.
fail() {
    why=$*
    return 1
}

expect() {
    [ "$2" = "$3" ] || fail "$1 is '$2' instead of '$3'"
}

# From here on `logged` and `uploaded` see only what is new.
mark() {
    log_from=$(($(size_of "$LOG") + 1))
    statistics_from=$(($(size_of "$STATISTICS") + 1))
}

size_of() {
    stat -c %s "$1" 2> /dev/null || echo 0
}

new_lines() {
    [ "$log_from" -le "$(($(size_of "$LOG") + 1))" ] || log_from=1  # the log is in a new file
    tail -c "+$log_from" "$LOG"
}

logged() {
    new_lines | grep -qF -- "$1"
}

# The statistics since the mark, without their times.
uploaded() {
    [ ! -f "$STATISTICS" ] || tail -c "+$statistics_from" "$STATISTICS" | sed 's/^{"time":"[^"]*",//'
}

# Field $1 of the module's state.
state() {
    sed -n "s/^$1 //p" "$CONTROL"
}

# Makes the kernel send packets: COUNT ATTRIBUTE TAG EVENT_ID PAYLOAD.
send() {
    echo "$*" > "$CONTROL"
}

# The daemon has handled all packets so far when it has logged one that is sent now.
barriers=0
settle() {
    barriers=$((barriers + 1))
    wait_for 120 send 1 1 kernel barrier "barrier-$barriers-end" ||
        fail 'the kernel cannot send to the daemon' || return
    wait_for "${1:-120}" logged "data:barrier-$barriers-end" ||
        fail "a packet was not handled within ${1:-120} s"
}

# Number $2 as $1 bytes in hexadecimal, lowest first.
little_endian() {
    printf "%0$((2 * $1))x" "$2" | sed 's/../& /g' | awk '{ while (NF) { printf $NF; NF-- } }'
}
