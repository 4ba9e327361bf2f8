#pragma once

#include <atomic>
#include <memory>

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Collects the hang files of SurfaceFlinger hang warnings, each on its own thread. */
class HangWarnings {
  public:
    explicit HangWarnings(DumpContext& dump) : mDump(dump) {}

    /**
     * Makes the folder and starts the thread. The number of waiting warnings is limited; any
     * more are dropped with an error line.
     *
     * @throws std::system_error if no thread can be created
     */
    void collect(const EventRef& event);

  private:
    DumpContext& mDump;
    const std::shared_ptr<std::atomic<int>> mWaiting = std::make_shared<std::atomic<int>>(0);
};

}  // namespace android::kavel
