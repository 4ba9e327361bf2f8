#!/system/bin/sh
# A set of event types to start with. The daemon loses its settings when it ends, so this runs
# after each of its starts (kavel_tools.rc). docs/reporting.md gives the reasons.
#
# No here-documents: the shell stores them in files, in a folder that a service may not write.

failed=0

# init discards the output of a service, so failures are also logged.
complain() {
    failed=1
    echo "kavel_starter_set: $1" >&2
    log -t kavel_starter_set "$1"
}

# configure EVENT NAME WINDOW MASK. MASK is not used: reports of the event type should have it.
configure() {
    answer=$(kavelctl set "$1" --name "$2" --enable --window "$3" 2>&1) || complain "$1: $answer"
}

# init runs this as soon as the daemon's process exists. Wait until its service is registered.
tries=0
until kavelctl status > /dev/null 2>&1; do
    tries=$((tries + 1))
    [ $tries -lt 60 ] || { complain 'the daemon does not answer'; exit 1; }
    sleep 1
done

# Apps. A window of a minute, because one fault makes several apps report: one archive shows it.
configure 0x3    anr           60000  android,kernel,anr_trace,meminfo,cpuinfo,events,proc_meminfo,thread_list,top
configure 0x4    ui_timeout    60000  android,kernel,display,cpuinfo,events,thread_list,top
configure 0x101  no_focus      60000  android,kernel,display,events,dumpsys_input,dumpsys_window,thread_list
# Crashes. Each has its own archive, 30 seconds later: an app that crashes again and again must not
# fill one archive.
configure 0x5    crash         0      android,meminfo,app_crash_history,events
configure 0x701  native_crash  0      android,kernel,meminfo,app_crash_history,events
# Display. A hang warning packs the multimedia tooling's files; mask and window have no effect.
configure 0x401  sf_hang       0      0
# Abnormal action of the user. On a commercial build, only these and hang warnings get an archive.
configure 0xf01  abnormal      0      android,kernel,display,meminfo,cpuinfo,events,top
exit $failed
