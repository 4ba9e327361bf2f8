#!/system/bin/sh
# A set of event types to start with. The daemon forgets its settings when it ends, so this runs
# after each of its starts (kavel_tools.rc). docs/reporting.md explains the columns.

# init starts this when it has started the daemon, which then still has to register its service.
tries=0
until kavelctl status > /dev/null 2>&1; do
    tries=$((tries + 1))
    [ $tries -lt 60 ] || { echo 'kavel_starter_set: the daemon does not answer' >&2; exit 1; }
    sleep 1
done

failed=0
while read -r event name window _; do
    case $event in '' | '#'*) continue ;; esac
    kavelctl set "$event" --name "$name" --enable --window "$window" || failed=1
done << END
# event  name          window  mask that its reports should have
# Apps. A window of a minute, because one fault makes several apps report: one archive shows it.
0x3      anr            60000  android,kernel,anr_trace,meminfo,cpuinfo,events,proc_meminfo,thread_list,top
0x4      ui_timeout     60000  android,kernel,display,cpuinfo,events,thread_list,top
0x101    no_focus       60000  android,kernel,display,events,dumpsys_input,dumpsys_window,thread_list
# Crashes. Each has its own archive, 30 seconds later: crash after crash must not keep a window full.
0x5      crash              0  android,meminfo,app_crash_history,events
0x701    native_crash       0  android,kernel,meminfo,app_crash_history,events
# Display. A hang warning packs the multimedia tooling's files; mask and window have no effect.
0x401    sf_hang            0  0
# Abnormal action of the user. With hang warnings, all that has an archive on a commercial build.
0xf01    abnormal           0  android,kernel,display,meminfo,cpuinfo,events,top
END
exit $failed
