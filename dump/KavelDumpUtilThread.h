#pragma once

#include <functional>
#include <vector>

#include "dump/CatchTable.h"

namespace android {

/** The bodies of the threads that catch and pack one event's logs. Each ends when it is done. */
class KavelDumpUtilThread {
  public:
    /**
     * The first round: the history line and every log that the event selects.
     *
     * @param work  keeps the pack of the folder waiting for this round; null on a commercial build,
     *              where the catch may not have a folder yet
     */
    static void immediateDumpThread(const kavel::CatchRef& running, kavel::LogFolder::Work work);
    /** Waits out the event's time window, takes the streaming logs again, and packs the folder. */
    static void trailContinuousDumpThread(const kavel::CatchRef& running);
    /**
     * Commercial builds: takes the streaming logs again after half a minute, and packs the folder.
     *
     * @param ring  gives the main record and the event list as they are when the pack begins
     */
    static void commercialContinuousDumpThread(
            const kavel::CatchRef& running,
            const std::function<std::vector<kavel::EventRef>()>& ring);
};

}  // namespace android
