#pragma once

#include <atomic>
#include <memory>

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Collects the hang files of SurfaceFlinger hang warnings, each on a thread of its own. */
class HangWarnings {
  public:
    explicit HangWarnings(DumpContext& dump) : mDump(dump) {}

    /**
     * Makes the folder and starts the thread. As many warnings may wait at a time as there are
     * records; a further one gets one error line.
     *
     * @throws std::system_error if no thread can be created
     */
    void collect(const EventRef& event);

  private:
    DumpContext& mDump;
    const std::shared_ptr<std::atomic<int>> mWaiting = std::make_shared<std::atomic<int>>(0);
};

}  // namespace android::kavel
