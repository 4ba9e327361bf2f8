#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "core/StatusTree.h"
#include "event/ReportJournal.h"
#include "handler/KavelEventHandler.h"
#include "handler/VariantPolicy.h"
#include "platform/CommandStatistics.h"
#include "recovery/KavelAnrRecoveryMonitor.h"

namespace android::kavel {

/** Snapshot of the whole daemon. */
struct DaemonStatus {
    int64_t timeNs = 0;  ///< wall clock
    int32_t pid = 0;
    std::chrono::seconds uptime{};
    BuildStatus build;
    std::optional<HandlerStatus> handler;  ///< nothing before the first report or setting
    std::optional<MonitorStatus> monitor;  ///< nothing before the first recovery
    JournalStatus journal;
    CommandStatus commands;
};

/**
 * Takes a snapshot. Each lock is held only while its part is copied. Builds neither the handler nor
 * the recovery monitor.
 *
 * @param uptime  of the daemon
 */
DaemonStatus takeDaemonStatus(std::chrono::seconds uptime);

/** Returns the snapshot, and the counters of the kernel channel and the control socket, as a tree.
 */
StatusNode describe(const DaemonStatus& status);

}  // namespace android::kavel
