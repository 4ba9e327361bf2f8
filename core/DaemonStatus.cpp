#include "core/DaemonStatus.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <ctime>
#include <utility>

#include <unistd.h>

#include <android-base/stringprintf.h>

#include "core/KernelChannel.h"
#include "dig/DigStatus.h"
#include "platform/Clock.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

using Nodes = std::vector<StatusNode>;

/** Version of the keys and their meaning in the JSON form. */
constexpr int kFormat = 1;
/** Maximum number of rows of a list whose length a caller of the daemon can choose. */
constexpr size_t kMaxRows = 128;

/** Returns local time with milliseconds and the offset from UTC (ISO 8601). */
std::string isoTime(int64_t realtimeNs) {
    const time_t seconds = realtimeNs / 1'000'000'000;
    std::tm local = {};
    localtime_r(&seconds, &local);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    return StringPrintf("%d-%02d-%02dT%02d:%02d:%02d.%03d%c%02ld:%02ld", local.tm_year + 1900,
                        local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                        static_cast<int>(realtimeNs / 1'000'000 % 1000),
                        local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

std::string hex(int64_t value) {
    return StringPrintf("0x%" PRIx64, static_cast<uint64_t>(value));
}

std::string hexMask(uint32_t mask) {
    return StringPrintf("0x%x", mask);
}

StatusNode optionalText(std::string name, const std::string& text) {
    return text.empty() ? nullNode(std::move(name)) : textNode(std::move(name), text);
}

template <typename Container, typename Row>
StatusNode rows(std::string name, const Container& items, const Row& row) {
    Nodes nodes;
    for (const auto& item : items) {
        if (nodes.size() < kMaxRows) nodes.push_back(objectNode("", row(item)));
    }
    return listNode(std::move(name), std::move(nodes));
}

StatusNode describeBuild(const BuildStatus& build) {
    return objectNode("build",
                      {
                              textNode("class", build.systemVersion == KAVEL_SYSTEM_VERSION_FORMAL
                                                        ? "commercial"
                                                        : "trail"),
                              flagNode("commercialVersion", build.isCommercialVersion),
                              flagNode("releaseVersion", build.isReleaseVersion),
                              flagNode("interactiveRomAction", build.isInteractiveRomAction),
                              flagNode("preVersion", build.isPreVersion),
                              flagNode("ctaVersion", build.isCtaVersion),
                              textNode("panicEnableMask", build.panicEnableMask),
                              textNode("userPanicForDebug", build.userPanicForDebug),
                      });
}

Nodes describeType(const EventTypeStatus& type) {
    return {
            textNode("id", hex(type.eventId)),       textNode("name", type.name),
            flagNode("enabled", type.isEnabled),     numberNode("windowMs", type.windowMs),
            numberNode("frequency", type.frequency), numberNode("recoverId", type.recoverId),
    };
}

Nodes describeEvent(const EventRef& event) {
    return {
            textNode("time", isoTime(event->timestamp.realtimeNs)),
            textNode("id", hex(event->eventId)),
            numberNode("recordId", event->kavelEventId),
            optionalText("process", event->extraInfo.processName),
            numberNode("pid", event->pid),
            textNode("mask", hexMask(static_cast<uint32_t>(event->logInfo))),
            textNode("confirmed", hexMask(event->collected)),
    };
}

Nodes describeWork(const OpenWork& work) {
    const auto took = std::chrono::steady_clock::now() - work.since;
    return {
            numberNode("ms", std::chrono::duration_cast<std::chrono::milliseconds>(took).count()),
            textNode("command", work.label),
    };
}

Nodes describeCatch(const CatchStatus& running) {
    Nodes nodes = describeEvent(running.event);
    const Nodes progress = {
            textNode("phase", phaseText(running.phase)),
            numberNode("ageMs", running.age.count()),
            running.left ? numberNode("leftMs", running.left->count()) : nullNode("leftMs"),
            textNode("missing", hexMask(running.missingBits)),
            optionalText("folder", running.folder),
            rows("work", running.work, describeWork),
    };
    nodes.insert(nodes.end(), progress.begin(), progress.end());
    return nodes;
}

Nodes describePool(const PoolStatus& pool) {
    return {
            textNode("name", pool.name),        countNode("threads", pool.threads),
            countNode("idle", pool.idle),       countNode("queued", pool.queued),
            countNode("started", pool.created), countNode("limit", pool.limit),
    };
}

StatusNode describeKernel(const KernelChannel& channel) {
    return objectNode("kernel",
                      {
                              textNode("state", channelText(channel.state)),
                              textNode("dialect", channel.isGeneric ? "generic netlink" : "compat"),
                              countNode("packets", channel.packets),
                              countNode("malformed", channel.malformed),
                              countNode("foreign", channel.foreign),
                              countNode("receiveFailures", channel.receiveFailures),
                      });
}

StatusNode describeSocket(const DigStatus& dig) {
    return objectNode("controlSocket", {
                                               textNode("state", socketText(dig.state)),
                                               countNode("records", dig.records),
                                               countNode("corrupt", dig.corrupt),
                                               countNode("freezes", dig.freezes),
                                               countNode("liveEvents", dig.liveEvents),
                                       });
}

Nodes describeWatch(const WatchStatus& watch) {
    return {numberNode("pid", watch.pid), optionalText("kind", watch.kind)};
}

StatusNode describeMonitor(const std::optional<MonitorStatus>& known) {
    const MonitorStatus monitor = known.value_or(MonitorStatus());
    return objectNode(
            "recovery",
            {
                    textNode("state", !known ? "not started: nothing was recovered so far"
                                      : monitor.isBusy
                                              ? "busy with an escalation, its lists cannot be read"
                                              : "ready"),
                    rows("requests", monitor.requests, describeWatch),
                    rows("watches", monitor.watches, describeWatch),
                    rows("cancels", monitor.cancels, describeWatch),
                    countNode("watchThreads", monitor.runningThreads),
            });
}

Nodes describeCommand(const CommandRun& run) {
    return {
            numberNode("ms", run.took.count()),
            numberNode("status", run.status),
            textNode("command", run.command),
    };
}

StatusNode describeCommands(const CommandStatus& commands) {
    return objectNode("commands", {
                                          countNode("run", commands.run),
                                          countNode("failed", commands.failed),
                                          countNode("late", commands.late),
                                          rows("running", commands.running, describeCommand),
                                          rows("slowest", commands.slowest, describeCommand),
                                  });
}

StatusNode describeCounts(const JournalStatus& journal) {
    Nodes nodes = {
            countNode("frameworkReports", journal.frameworkReports),
            countNode("kernelReports", journal.kernelReports),
            countNode("incompleteReports", journal.incompleteReports),
            countNode("settings", journal.settings),
            countNode("refusedSettings", journal.refusedSettings),
    };
    for (const FateRow& row : kFates) {
        nodes.push_back(
                countNode(std::string(row.key), journal.counts[static_cast<size_t>(row.fate)]));
    }
    nodes.push_back(countNode("archives", journal.archives));
    nodes.push_back(countNode("archiveBytes", journal.archiveBytes));
    return objectNode("counts", std::move(nodes));
}

Nodes describeReport(const ReportEntry& entry) {
    // A folder of an earlier start has no event.
    const bool hasEvent = entry.recordId != 0 || entry.folder.empty();
    return {
            textNode("time", isoTime(entry.timeNs)),
            hasEvent ? textNode("id", hex(entry.eventId)) : nullNode("id"),
            numberNode("recordId", entry.recordId),
            optionalText("process", entry.process),
            textNode("fate", rowOf(entry.fate).key),
            countNode("count", entry.count),
            optionalText("detail", entry.detail),
            optionalText("folder", entry.folder),
            optionalText("archive", entry.archive),
    };
}

}  // namespace

DaemonStatus takeDaemonStatus(std::chrono::seconds uptime) {
    DaemonStatus status;
    status.timeNs = realtimeNs();
    status.pid = getpid();
    status.uptime = uptime;
    status.build = buildStatus();
    if (KavelEventHandler::hasInstance()) {
        status.handler = KavelEventHandler::getInstance().status();
    }
    if (KavelAnrRecoveryMonitor::hasInstance()) {
        status.monitor = KavelAnrRecoveryMonitor::getInstance().status();
    }
    status.journal = ReportJournal::instance().status();
    status.commands = CommandStatistics::instance().status();
    return status;
}

StatusNode describe(const DaemonStatus& status) {
    const HandlerStatus handler = status.handler.value_or(HandlerStatus());
    return objectNode(
            "", {
                        numberNode("format", kFormat),
                        textNode("time", isoTime(status.timeNs)),
                        textNode("version", KAVEL_VERSION),
                        numberNode("pid", status.pid),
                        numberNode("uptimeSeconds", status.uptime.count()),
                        describeBuild(status.build),
                        textNode("handler",
                                 status.handler ? "ready"
                                                : "not built: no report and no settings so far"),
                        countNode("eventTypeCount", handler.eventTypes.size()),
                        rows("eventTypes", handler.eventTypes, describeType),
                        rows("events", handler.events, describeEvent),
                        flagNode("windowOpen", handler.isWindowOpen),
                        countNode("catchCount", handler.catchCount),
                        rows("catches", handler.catches, describeCatch),
                        rows("pools", handler.pools, describePool),
                        describeKernel(kernelChannel()),
                        describeSocket(digStatus()),
                        describeMonitor(status.monitor),
                        describeCommands(status.commands),
                        describeCounts(status.journal),
                        rows("failures", status.journal.failures, describeReport),
                        rows("recent", status.journal.recent, describeReport),
                });
}

}  // namespace android::kavel
