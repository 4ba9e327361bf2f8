"""The jobs that are measured, and their budgets."""

from collections import namedtuple

# ours, peer and limit name measurements: PROGRAM.CASE, or PROGRAM.CASE:COUNTER. The peer is another
# way to do the job; the limit is the cost of what the job cannot do without. The ratio is ours
# divided by the one that `against` names. A budget without `against` is a number in the row's unit,
# and no budget means that the figure is only reported.
Row = namedtuple("Row", "job unit ours peer limit against budget long", defaults=(False,))

ROWS = [
    Row("Report of an enabled event that catches nothing", "us",
        "handling.handleEvent", None, "handling.logLinesAlone", "limit", 1.10),
    Row("Memory kept for each event", "B", "handling.keptPerEvent:bytes", None, None, None, 0),
    Row("Kernel packet, received and viewed", "us",
        "kevent.daemonReceives", "kevent.libnlReceiveAndParse", "kevent.bareReceive", "peer", 0.71),
    Row("Kernel event packet, decoded, handled and logged", "us",
        "kevent.daemonHandles/3", None, "kevent.receiveAndLog/3", "limit", 1.20),
    Row("Kernel statistic packet, the same, and given to a thread", "us",
        "kevent.daemonHandles/2", None, "kevent.receiveAndLog/2", "limit", 1.20),
    Row("Lost of a burst of 20,000 packets, 60 bytes of text", "packets",
        "kevent.burst/60:lost", None, None, None, 0),
    Row("Lost of a burst of 20,000 packets, 700 bytes of text", "packets",
        "kevent.burst/700:lost", None, None, None, 0),
    Row("Raw event through the socket, 40 live events", "us",
        "dig.fortyLive", "dig.bareReceive", "dig.receiveAndPrint", "limit", 1.10),
    Row("Task of the pool, with its future", "us", "pool.kavelPool", "pool.tbbArena", "pool.directCall", "peer", 1.0),
    Row("30 commands, 5 at a time", "ms",
        "pool.kavelBurst", "pool.xargsBurst", "pool.spawnBurst", "peer", 0.60),
    Row("Shell command", "us",
        "shell.kavelShell", "shell.librarySystem", "shell.spawnAndWait", "peer", 0.90),
    Row("Wake-ups while idle", "", "phone.idle_wakeups", None, None, None, 0),
    Row("Processor ticks while idle", "", "phone.idle_ticks", None, None, None, 0),
    Row("Wake-ups in 10 idle minutes", "", "long.idle_wakeups", None, None, None, 0, True),
    Row("Processor ticks in 10 idle minutes", "", "long.idle_ticks", None, None, None, 0, True),
    Row("RSS at rest", "kB", "phone.rss", "phone.rss_empty", None, "peer", 1.12),
    Row("Catch and pack", "ms", "phone.catch", "phone.script", "phone.parallel", "peer", 0.80),
    Row("Catch and pack, against sos report", "ms",
        "phone.catch", "sos.report", None, "peer", 0.125),
    Row("tar czf of a catch, against the whole catch", "ms",
        "phone.tar", "phone.catch", None, "peer", None),
    Row("Memory of each catch in flight", "kB",
        "phone.memory_per_catch", None, "phone.memory_per_thread", None, 16),
    Row("Start to service", "ms", "phone.start", "phone.start_empty", None, "peer", 1.10),
    Row("kaveldesk: parse and merge 1 MB of logs", "ms", "desk.merge_per_mb", None, None, None, 10),
    Row("kaveldesk: read and merge an archive (sort as limit)", "ms",
        "desk.from_archive", "desk.lnav", "desk.sort", None, None),
    Row("kaveldesk: memory for 200 MB of logs", "MB", "desk.memory", None, None, None, 500),
    Row("kaveldesk: report about an archive of 20 MB", "ms", "desk.report", None, None, None, 3000),
    Row("kaveldesk: its page, of random words", "kB", "desk.page", None, None, None, None),
    Row("kaveldesk: index archives with 2 MB of logs (tar xzf as peer)", "s",
        "index.archives", "index.tar", None, "peer", 1.5),
    Row("kaveldesk: the same, processor time", "s",
        "index.archives_cpu", "index.tar_cpu", None, "peer", 1.5),
    Row("kaveldesk: archives indexed per second", "", "index.rate", None, None, None, None),
    Row("kaveldesk: slowest question about 1 M catches, processor time", "ms",
        "index.slowest_cpu", None, None, None, 200),
    Row("kaveldesk: slowest page about 1 M catches, processor time", "ms",
        "index.slowest_page_cpu", None, None, None, 100),
    Row("kaveldesk: index, bytes per catch", "B", "index.bytes_per_catch", None, None, None, None),
    Row("kaveldesk: the slowest question in ClickHouse, processor time", "ms",
        "clickhouse.slowest_cpu", None, None, None, 200),
    Row("kaveldesk: ClickHouse, bytes per catch", "B", "clickhouse.bytes_per_catch", None, None, None, None),
    Row("Soak: lines lost", "", "soak.lost", None, None, None, 0, True),
    Row("Soak: RSS, last quarter against the first", "kB",
        "soak.rss_last", "soak.rss_first", None, "peer", 1.02, True),
    Row("Soak: threads, last quarter against the first", "",
        "soak.threads_last", "soak.threads_first", None, "peer", 1.02, True),
    Row("Soak: descriptors, last quarter against the first", "",
        "soak.descriptors_last", "soak.descriptors_first", None, "peer", 1.02, True),
    Row("Soak: reports per second, first quarter against the last", "",
        "soak.rate_first", "soak.rate_last", None, "peer", None, True),
]

# Curves of docs/growth.png: title, axis, and each line's name with its measurements, which end in
# the size.
CURVES = [
    ("Report", "records in the event list", "us", {
        "any event": "handling.report",
        "abnormal action among such": "handling.abnormalAction",
    }),
    ("Statistic packet", "pairs", "us", {"handled and logged": "kevent.packetWithPairs"}),
    ("kavelctl list", "archives", "ms", {"list": "list.archives"}),
]
