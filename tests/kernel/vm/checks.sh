# shellcheck shell=sh disable=SC2034,SC2154
# The checks, in the order in which they run. Each leaves the phone as the next one expects it.

CHECKS='registers drops_disabled_event event_becomes_record event_becomes_archive
statistic_uploaded_once power_key_starts_dump power_key_again_only_uploads
unknown_types_do_nothing long_payload_is_cut_at_the_buffer burst_loses_nothing
module_reload_leaves_daemon_running restarted_daemon_registers_again'

BURST=20000
UNFOUND_EVENT=1026  # 0x402: makes a record, catches no logs
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

send_event() {
    send 3 kernel event "event_id: $1.loginfo: $MASK.pid: 1.extrainfo: boot"
}

check_drops_disabled_event() {
    mark
    send_event "$UNFOUND_EVENT" && settle || return
    logged 'eventId: 0x402 is Disable!' || fail 'no line says that the event is disabled'
}

# One-way calls are served in order: a call's line shows that those before it are done.
configure() {
    mark
    kavelctl set $ANR_EVENT --name kernel_anr --enable --window 5000 &&
        kavelctl set $UNFOUND_EVENT --name kernel_unfound --enable &&
        kavelctl set 0x203 --name kernel_last --disable || fail 'kavelctl set failed' || return
    wait_for 20 logged 'Bn updateEventParams eventId: 0x203' || fail 'the settings did not arrive'
}

check_event_becomes_record() {
    configure || return
    mark
    send_event "$UNFOUND_EVENT" && settle || return
    logged "eventID: $UNFOUND_EVENT logInfo: $MASK" || fail 'the record is not in the list' || return
    logged "don't catchlog, just return" || fail 'the event was not handled to its end'
}

archived() {
    archive=$(ls /data/persist_log/PLX/de/kavel/*.tar.gz) && [ "$(echo "$archive" | wc -l)" = 1 ] &&
        [ -z "$(ls /data/persist_log/kavel30)" ]
}

check_event_becomes_archive() {
    send_event $ANR_EVENT || return
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

send_power_key() {
    send 2 power Kavel "logmap{logType:black_screen_monitor;catchlog:true;error_id:$1}"
}

power_key_upload() {
    echo '"tag":"power","event":"Kavel","data":[["logType","black_screen_monitor"],' \
        "[\"catchlog\",\"true\"],[\"error_id\",\"$1\"]]}" | sed 's/, \[/,[/'
}

# What the first of two power-key statistics leaves, and the second must not touch.
dump_asked_for_once() {
    expect 'the error id' "$(getprop sys.kavel.pwkey_errorid)" first &&
        expect 'the log type' "$(getprop sys.kavel.log_type)" 8 &&
        expect plx.txt "$(cat /data/persist_log/kavel/plx.txt)" \
            'logType:black_screen_monitor;catchlog:true;error_id:first'
}

check_power_key_starts_dump() {
    mark
    send_power_key first && settle && dump_asked_for_once || return
    expect 'the upload' "$(uploaded)" "$(power_key_upload first)" || return
    dumped_at=$(getprop sys.kavel.lastdumpstate.time)
    [ "$dumped_at" -gt 0 ] || fail "the dump's time is '$dumped_at'" || return
    wait_for 20 logged 'log_type=8 errorid=first' || fail 'the dump service was not started'
}

check_power_key_again_only_uploads() {
    mark
    send_power_key second && settle && dump_asked_for_once || return
    expect 'the upload' "$(uploaded)" "$(power_key_upload second)" || return
    expect "the dump's time" "$(getprop sys.kavel.lastdumpstate.time)" "$dumped_at" || return
    logged 'dump too frequently' || fail 'no line says that the dump was refused'
}

check_unknown_types_do_nothing() {
    mark
    for type in 0 4 7 100; do
        send $type usage probe 'logmap{a:1}' &&
            send $type kernel event "event_id: $UNFOUND_EVENT.loginfo: 1.pid: 1" ||
            fail "type $type could not be sent" || return
    done
    settle || return
    expect 'the upload' "$(uploaded)" '' || return
    ! logged getPlxMsgFromKevent && ! logged handleKernelSendKavelEvent ||
        fail 'a packet of unknown type was decoded' || return
    expect 'the number of refused types' "$(new_lines | grep -c 'invalid attr type')" 8
}

# The buffer ends 720 bytes into the payload, before the payload's NUL.
check_long_payload_is_cut_at_the_buffer() {
    mark
    send 1 kernel long "$(printf %0900d 0)" && settle || return
    expect 'the length of the text' "$(new_lines | grep -o 'data:0*$' | head -n 1 | wc -c)" 726 ||
        return
    same_daemon
}

# Packets of full size: what follows the brace counts for nothing but takes up the buffer.
check_burst_loses_nothing() {
    mark
    send_many $BURST 2 burst burst "logmap{number:#}$(printf %0680d 0)"
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
