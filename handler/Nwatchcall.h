#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "dump/DumpContext.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Waits five minutes for the multimedia tooling, then copies its hang files into @p folder.
 *
 * @return whether there was any
 */
bool copyNwatchcallLog(const std::string& folder);

/** Packs @p folder where something was @p found, and removes it in any case. */
void packNwatchcallLog(bool found, const std::string& folder);

/** Collects the hang files of SurfaceFlinger hang warnings, each on a thread of its own. */
class NwatchcallCollector {
  public:
    explicit NwatchcallCollector(DumpContext& dump) : mDump(dump) {}

    /**
     * Makes the folder and starts the thread. As many may wait at a time as there are records; a
     * warning beyond that, of a flood, gets one error line.
     *
     * @throws std::system_error where no thread can be had
     */
    void collect(const EventRef& event);

  private:
    DumpContext& mDump;
    const std::shared_ptr<std::atomic<int>> mWaiting = std::make_shared<std::atomic<int>>(0);
};

}  // namespace android::kavel
