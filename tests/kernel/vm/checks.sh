# shellcheck shell=sh disable=SC2034,SC2154
# The checks, in the order in which they run. Each leaves the phone as the next one expects it.

CHECKS='registers event_becomes_archive statistic_uploaded_once power_key_starts_dump burst_loses_nothing
module_reload_leaves_daemon_running restarted_daemon_registers_again'

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
    daemon=$(pidof dravo_kavel) && [ "$(state registrations)" = 1 ] &&
        [ "$(state port)" = "$daemon" ]
}

registered_exactly() {
    wait_for 20 registered ||
        fail "registrations: $(state registrations), port $(state port), daemon $(pidof dravo_kavel)" ||
        return
    expect 'the registration' "$(state message)" "$(registration_of "$daemon")"
}

check_registers() {
    registered_exactly
}

archived() {
    archive=$(ls /data/persist_log/PLX/de/kavel/*.tar.gz) && [ "$(echo "$archive" | wc -l)" = 1 ] &&
        [ -z "$(ls /data/persist_log/kavel30)" ]
}

# One-way calls are served in order: a call's line shows that those before it are done.
check_event_becomes_archive() {
    mark
    kavelctl set $ANR_EVENT --name kernel_anr --enable --window 5000 &&
        kavelctl set 0x203 --name kernel_last --disable || fail 'kavelctl set failed' || return
    wait_for 20 logged 'Bn updateEventParams eventId: 0x203' || fail 'the settings did not arrive' ||
        return
    send 3 kernel event "event_id: $ANR_EVENT.loginfo: $MASK.pid: 1.extrainfo: boot" || return
    wait_for 60 archived || fail "no archive: $(ls /data/persist_log/PLX/de/kavel)" || return
    kavelctl list --json | grep -q '"event" *: *"kernel_anr"' ||
        fail "kavelctl does not list it: $(kavelctl list)" || return
    tar tzf "$archive" | grep -q 'kernel-.*\.txt$' || fail "kernel messages are not in $archive"
}

check_statistic_uploaded_once() {
    mark
    send 2 usage probe 'logmap{a:1;b:t:2}' && settle || return
    expect 'the upload' "$(uploaded)" '"tag":"usage","event":"probe","data":[["a","1"],["b","t:2"]]}'
}

check_power_key_starts_dump() {
    mark
    text='logType:black_screen_monitor;catchlog:true;error_id:first'
    send 2 power Kavel "logmap{$text}" && settle || return
    expect 'the error id' "$(getprop sys.kavel.pwkey_errorid)" first &&
        expect 'the log type' "$(getprop sys.kavel.log_type)" 8 &&
        expect plx.txt "$(cat /data/persist_log/kavel/plx.txt)" "$text" &&
        expect 'the upload' "$(uploaded)" \
            '"tag":"power","event":"Kavel","data":[["logType","black_screen_monitor"],["catchlog","true"],["error_id","first"]]}' ||
        return
    dumped_at=$(getprop sys.kavel.lastdumpstate.time)
    [ "$dumped_at" -gt 0 ] || fail "the dump's time is '$dumped_at'" || return
    wait_for 20 logged 'log_type=8 errorid=first' || fail 'the dump service was not started'
}

check_burst_loses_nothing() {
    mark
    send_many $BURST 2 burst burst 'logmap{number:#}'
    expect 'the number of packets that did not fit' "$(state failed)" 0 && settle 150 || return
    cat "$STATISTICS".1 "$STATISTICS" 2> /dev/null |
        sed -n 's/.*"event":"burst","data":\[\["number","\([0-9]*\)"\]\]}$/\1/p' > /tmp/numbers
    expect 'the number of uploads' "$(wc -l < /tmp/numbers)" $BURST || return
    seq $BURST | cmp -s - /tmp/numbers || fail 'the uploads are not in the order of sending' || return
    same_daemon
}

# There is no registering again: the daemon keeps its socket, and a module that learns the port by
# other means reaches it.
check_module_reload_leaves_daemon_running() {
    rmmod kavel_monitor && insmod /checks/kavel_monitor.ko || fail 'the module does not reload' ||
        return
    mark
    ! send 2 usage reload 'logmap{a:1}' 2> /dev/null ||
        fail 'the module knows a port although nobody has registered' || return
    echo "port $daemon" > "$CONTROL"
    send 2 usage reload 'logmap{a:2}' && settle || return
    expect 'the upload' "$(uploaded)" '"tag":"usage","event":"reload","data":[["a","2"]]}' || return
    expect 'the number of registrations' "$(state registrations)" 0 && same_daemon
}

check_restarted_daemon_registers_again() {
    old=$daemon
    setprop ctl.restart dravo_kavel
    registered_exactly || return
    [ "$daemon" != "$old" ] || fail 'the daemon has not been restarted' || return
    mark
    send 2 usage restart 'logmap{a:3}' && settle || return
    expect 'the upload' "$(uploaded)" '"tag":"usage","event":"restart","data":[["a","3"]]}'
}
