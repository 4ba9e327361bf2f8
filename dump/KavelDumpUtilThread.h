#pragma once

#include <functional>
#include <vector>

#include "dump/CatchTable.h"

namespace android {

/** The bodies of the dump threads, which collect and pack the logs of one event. */
class KavelDumpUtilThread {
  public:
    /**
     * The first round: writes the history line and collects all logs that the event selects.
     *
     * @param work  makes the pack of the folder wait for this round; null on a commercial build,
     *              because the catch may not have a folder yet
     */
    static void immediateDumpThread(const kavel::CatchRef& running, kavel::LogFolder::Work work);
    /**
     * Waits for the end of the event's window, takes the streaming logs again and packs the folder.
     * The spelling "trail" is required: the name is part of the interface.
     */
    static void trailContinuousDumpThread(const kavel::CatchRef& running);
    /**
     * Commercial builds: takes the streaming logs again after 30 s and packs the folder.
     *
     * @param ring  returns the main record and the event list; called when the pack begins
     */
    static void commercialContinuousDumpThread(
            const kavel::CatchRef& running,
            const std::function<std::vector<kavel::EventRef>()>& ring);
};

}  // namespace android
