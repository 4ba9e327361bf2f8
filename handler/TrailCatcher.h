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
     * @throws std::system_error if no thread can be created
     */
    void trailKavelLogCatcher(const EventRef& event);

    /** The folder that was last shared, packed or not; null if there never was one. */
    LogFolderRef combinedLogFolder() EXCLUDES(mLock);

  private:
    bool isCombined(const KavelEvent& event) const;
    /** Whether the caller has to open a window. If so, later callers wait for its folder. */
    bool claimWindow() EXCLUDES(mLock);
    void openWindow(const CatchRef& running);
    /** Starts the first round in the folder of the open window. False if that cannot be used. */
    bool joinWindow(const CatchRef& running);
    void catchAlone(const CatchRef& running);
    LogFolderRef makeFolder(const CatchRef& running, LogFolder::Kind kind) const;
    LogFolderRef awaitCombinedFolder() EXCLUDES(mLock);
    void publishCombinedFolder(LogFolderRef folder) EXCLUDES(mLock);

    const EventList& mEvents;
    DumpContext& mDump;

    Mutex mLock;
    std::condition_variable mNamed;
    // Windows that are open but whose folder is still being made.
    int mNaming GUARDED_BY(mLock) = 0;
    LogFolderRef mCombinedLogFolder GUARDED_BY(mLock);
};

}  // namespace android::kavel
