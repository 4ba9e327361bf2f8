#pragma once

#include <condition_variable>
#include <string>

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"
#include "handler/EventList.h"
#include "platform/Mutex.h"

namespace android::kavel {

/**
 * Field-trial builds: gives every event a log folder, alone or shared with the events of its time
 * window, and starts the dump threads that fill and pack it. Any thread.
 */
class TrailCatcher {
  public:
    TrailCatcher(const EventList& events, DumpContext& dump) : mEvents(events), mDump(dump) {}

    /**
     * Returns as soon as the threads are started.
     *
     * @throws std::system_error where no thread can be had
     */
    void trailKavelLogCatcher(const EventRef& event);

    /** The folder that was last shared, gone or not; empty where there never was one. */
    std::string combinedLogFolder() EXCLUDES(mLock);

  private:
    bool isCombined(const KavelEvent& event) const;
    void openWindow(const EventRef& event, const CatchRef& running);
    void catchAlone(const EventRef& event, const CatchRef& running);
    std::string awaitCombinedFolder() EXCLUDES(mLock);
    void publishCombinedFolder(const std::string& folder) EXCLUDES(mLock);

    const EventList& mEvents;
    DumpContext& mDump;

    Mutex mLock;
    std::condition_variable mNamed;
    int mNaming GUARDED_BY(mLock) =
            0;  // windows that are open but whose folder is still being made
    std::string mCombinedLogFolder GUARDED_BY(mLock);
};

}  // namespace android::kavel
