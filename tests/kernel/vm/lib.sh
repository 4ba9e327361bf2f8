# shellcheck shell=sh disable=SC2034,SC2154
# What the checks are written with.

LOG=/dev/log/main
STATISTICS=/data/persist_log/PLX/statistics.jsonl
CONTROL=/proc/kavel_monitor

now_ms() {
    read -r up _ < /proc/uptime
    echo "${up%.*}${up#*.}0"
}

# Waits until the command succeeds; false once $1 seconds are over.
wait_for() {
    end=$(($(now_ms) + $1 * 1000))
    shift
    until "$@" > /dev/null 2>&1; do
        [ "$(now_ms)" -lt "$end" ] || return 1
        sleep 0.05
    done
}

# Says why the check fails; false, so that it can be its last word.
fail() {
    why=$*
    return 1
}

# The same, where the checks that follow would only wait for nothing.
stuck() {
    is_stuck=1
    fail "$@"
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
    [ "$log_from" -le "$(($(size_of "$LOG") + 1))" ] || log_from=1  # the file has been turned over
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

# Has the kernel send packets: ATTRIBUTE TAG EVENT_ID PAYLOAD, COUNT of them.
send() {
    send_many 1 "$@"
}

send_many() {
    echo "send $*" > "$CONTROL"
}

# All packets sent so far have been handled once the daemon has logged one that is sent now.
barriers=0
settle() {
    barriers=$((barriers + 1))
    wait_for 20 send 1 kernel barrier "barrier-$barriers-end" ||
        stuck "the kernel cannot send to the daemon" || return
    wait_for "${1:-20}" logged "data:barrier-$barriers-end" ||
        stuck "a packet was not handled within ${1:-20} s"
}

# Number $2 as $1 bytes in hexadecimal, lowest first.
little_endian() {
    number=$2
    bytes=$1
    while [ "$bytes" -gt 0 ]; do
        printf %02x $((number & 255))
        number=$((number >> 8))
        bytes=$((bytes - 1))
    done
}

expect() {
    [ "$2" = "$3" ] || fail "$1 is '$2' instead of '$3'"
}

same_daemon() {
    expect "the daemon's process" "$(pidof dravo_kavel)" "$daemon"
}
