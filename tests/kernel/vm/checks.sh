# shellcheck shell=sh disable=SC2034,SC2154
# The checks, in the order in which they run; each needs what the one before it leaves. Would catch a
# registration that a real kernel refuses or reads in another way, a packet that is lost or decoded
# twice, a burst that does not fit, and a daemon that does not register after its restart.

CHECKS='registers event_becomes_archive power_key_starts_a_dump burst_loses_nothing
restarted_daemon_registers_again'

BURST=20000
ANR_EVENT=257
MASK=514            # kernel messages and processor list: quick to take

# The bytes of process $1's registration: length, family id, request flag, no sequence number, port;
# command 1, version 1; attribute 1 with its padded length, the text, its NUL and the padding.
registration_of() {
    printf %s 28000000 "$(little_endian 2 "$(state family)")" 0100 00000000 \
        "$(little_endian 4 "$1")" 01010000 \
        1400 0100 "$(printf kavel_kevent | hexdump -ve '/1 "%02x"')" 00000000
}

registered() {
    daemon=$(pidof dravo_kavel) && [ "$(state port)" = "$daemon" ]
}

check_registers() {
    wait_for 120 registered || fail "port $(state port), daemon $(pidof dravo_kavel)" || return
    expect 'the registration' "$(state message)" "$(registration_of "$daemon")"
}

archived() {
    archive=$(ls /data/persist_log/PLX/de/kavel/*.tar.gz) && [ "$(echo "$archive" | wc -l)" = 1 ] &&
        [ -z "$(ls /data/persist_log/kavel30)" ]
}

# One-way calls are served in order: the second call's line shows that the first one is done.
check_event_becomes_archive() {
    mark
    kavelctl set $ANR_EVENT --name kernel_anr --enable --window 5000 &&
        kavelctl set 0x203 --name kernel_last --disable || fail 'kavelctl set failed' || return
    wait_for 120 logged 'Bn updateEventParams eventId: 0x203' || fail 'the settings did not arrive' ||
        return
    send 1 3 kernel event "event_id: $ANR_EVENT.loginfo: $MASK.pid: 1.extrainfo: boot" || return
    wait_for 240 archived || fail "no archive: $(ls /data/persist_log/PLX/de/kavel)" || return
    kavelctl list --json | grep -q '"event" *: *"kernel_anr"' ||
        fail "kavelctl does not list it: $(kavelctl list)" || return
    tar tzf "$archive" | grep -q 'kernel-.*\.txt$' || fail "kernel messages are not in $archive"
}

check_power_key_starts_a_dump() {
    logmap='logType:black_screen_monitor;catchlog:true;error_id:first'
    mark
    send 1 2 power Kavel "logmap{$logmap}" && settle || return
    expect 'the upload' "$(uploaded)" '"tag":"power","event":"Kavel","data":[["logType","black_screen_monitor"],["catchlog","true"],["error_id","first"]]}' || return
    wait_for 120 logged 'log_type=8 errorid=first' || fail 'the dump service was not started' || return
    expect plx.txt "$(cat /data/persist_log/kavel/plx.txt)" "$logmap"
}

# Packets of full size: what follows the brace counts for nothing but takes up the buffer.
check_burst_loses_nothing() {
    mark
    send $BURST 2 burst burst "logmap{number:#}$(printf %0680d 0)" ||
        fail 'a packet did not fit' || return
    settle 600 || return
    cat "$STATISTICS".1 "$STATISTICS" 2> /dev/null |
        sed -n 's/.*"event":"burst","data":\[\["number","\([0-9]*\)"\]\]}$/\1/p' > /tmp/numbers
    expect 'the number of uploads' "$(wc -l < /tmp/numbers)" $BURST || return
    seq $BURST | cmp -s - /tmp/numbers || fail 'the uploads are not in the order of sending'
}

check_restarted_daemon_registers_again() {
    old=$daemon
    setprop ctl.restart dravo_kavel
    check_registers && [ "$daemon" != "$old" ] || fail "${why:-it has not been restarted}" || return
    settle
}
