# shellcheck shell=sh disable=SC2034,SC2154
# The checks, in the order in which they run; each needs what the one before it leaves. Would catch a
# registration that a real kernel refuses or reads in another way, a packet that is lost, decoded
# twice, read beyond the buffer or decoded although its type is unknown, a burst that does not fit,
# and a daemon that a module or its own restart cuts off.

CHECKS='registers event_becomes_archive power_key_starts_one_dump unknown_types_do_nothing
long_payload_is_cut_at_the_buffer burst_loses_nothing module_reload_leaves_daemon_running
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
    daemon=$(pidof dravo_kavel) && [ "$(state registrations)" = 1 ] &&
        [ "$(state port)" = "$daemon" ]
}

check_registers() {
    wait_for 20 registered ||
        fail "registrations: $(state registrations), port $(state port), daemon $(pidof dravo_kavel)" ||
        return
    expect 'the registration' "$(state message)" "$(registration_of "$daemon")"
}

archived() {
    archive=$(ls /data/persist_log/PLX/de/kavel/*.tar.gz) && [ "$(echo "$archive" | wc -l)" = 1 ] &&
        [ -z "$(ls /data/persist_log/kavel30)" ]
}

# The first report is dropped. One-way calls are served in order: the second call's line shows that
# the first one is done.
check_event_becomes_archive() {
    event="3 kernel event event_id: $ANR_EVENT.loginfo: $MASK.pid: 1.extrainfo: boot"
    mark
    send 1 "$event" && settle || return
    logged 'eventId: 0x101 is Disable!' || fail 'no line says that the event is disabled' || return
    kavelctl set $ANR_EVENT --name kernel_anr --enable --window 5000 &&
        kavelctl set 0x203 --name kernel_last --disable || fail 'kavelctl set failed' || return
    wait_for 20 logged 'Bn updateEventParams eventId: 0x203' || fail 'the settings did not arrive' ||
        return
    send 1 "$event" || return
    wait_for 60 archived || fail "no archive: $(ls /data/persist_log/PLX/de/kavel)" || return
    kavelctl list --json | grep -q '"event" *: *"kernel_anr"' ||
        fail "kavelctl does not list it: $(kavelctl list)" || return
    tar tzf "$archive" | grep -q 'kernel-.*\.txt$' || fail "kernel messages are not in $archive"
}

check_power_key_starts_one_dump() {
    mark
    send 1 2 power Kavel 'logmap{logType:black_screen_monitor;catchlog:true;error_id:first}' &&
        send 1 2 power Kavel 'logmap{logType:black_screen_monitor;catchlog:true;error_id:second}' &&
        settle || return
    start='"tag":"power","event":"Kavel","data":[["logType","black_screen_monitor"],["catchlog","true"]'
    expect 'the uploads' "$(uploaded)" "$start,[\"error_id\",\"first\"]]}
$start,[\"error_id\",\"second\"]]}" || return
    wait_for 20 logged 'log_type=8 errorid=first' || fail 'the dump service was not started' || return
    logged 'dump too frequently' || fail 'no line says that the second dump was refused' || return
    expect plx.txt "$(cat /data/persist_log/kavel/plx.txt)" \
        'logType:black_screen_monitor;catchlog:true;error_id:first'
}

check_unknown_types_do_nothing() {
    mark
    for type in 0 4 100; do
        send 1 $type usage probe 'logmap{a:1}' || fail "type $type could not be sent" || return
    done
    settle || return
    expect 'the upload' "$(uploaded)" '' || return
    expect 'the number of refused types' "$(new_lines | grep -c 'invalid attr type')" 3
}

# The buffer ends 720 bytes into the payload, before the payload's NUL.
check_long_payload_is_cut_at_the_buffer() {
    mark
    send 1 1 kernel long "$(printf %0900d 0)" && settle || return
    expect 'the length of the text' "$(new_lines | grep -o 'data:0*$' | head -n 1 | wc -c)" 726
}

# Packets of full size: what follows the brace counts for nothing but takes up the buffer.
check_burst_loses_nothing() {
    mark
    send $BURST 2 burst burst "logmap{number:#}$(printf %0680d 0)" ||
        fail 'a packet did not fit' || return
    settle 150 || return
    cat "$STATISTICS".1 "$STATISTICS" 2> /dev/null |
        sed -n 's/.*"event":"burst","data":\[\["number","\([0-9]*\)"\]\]}$/\1/p' > /tmp/numbers
    expect 'the number of uploads' "$(wc -l < /tmp/numbers)" $BURST || return
    seq $BURST | cmp -s - /tmp/numbers || fail 'the uploads are not in the order of sending'
}

# The daemon does not register again. It keeps its socket: a module that knows the port reaches it.
check_module_reload_leaves_daemon_running() {
    rmmod kavel_monitor && insmod /checks/kavel_monitor.ko || fail 'the module does not reload' ||
        return
    ! send 1 2 usage reload 'logmap{a:1}' 2> /dev/null || fail 'the module still knows a port' || return
    echo "port $daemon" > "$CONTROL"
    arrives reload && expect 'the number of registrations' "$(state registrations)" 0 &&
        expect "the daemon's process" "$(pidof dravo_kavel)" "$daemon"
}

check_restarted_daemon_registers_again() {
    old=$daemon
    setprop ctl.restart dravo_kavel
    check_registers || return
    [ "$daemon" != "$old" ] || fail 'the daemon has not been restarted' || return
    arrives restart
}

# Whether a statistic of event $1 is uploaded, once.
arrives() {
    mark
    send 1 2 usage "$1" 'logmap{a:1;b:t:2}' && settle || return
    expect 'the upload' "$(uploaded)" "\"tag\":\"usage\",\"event\":\"$1\",\"data\":[[\"a\",\"1\"],[\"b\",\"t:2\"]]}"
}
