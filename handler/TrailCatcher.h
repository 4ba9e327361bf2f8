#pragma once

#include <condition_variable>
#include <string>

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"
#include "platform/Mutex.h"

namespace android::kavel {

/**
 * Catcher of field-trial builds: gives each event a log folder, alone or shared with the events of
 * its time window, and starts the dump threads that fill and pack the folder. Any thread. The
 * spelling "trail" is required: the names are part of the interface.
 */
class TrailCatcher {
  public:
    explicit TrailCatcher(DumpContext& dump) : mDump(dump) {}

    /**
     * Returns as soon as the threads have started.
     *
     * @throws std::system_error if no thread can be created
     */
    void trailKavelLogCatcher(const EventRef& event);

    /** Returns the latest shared folder, packed or not; null if there was none. */
    LogFolderRef combinedLogFolder() EXCLUDES(mLock);

  private:
    bool isCombined(const KavelEvent& event) const;
    /** Returns whether the caller must open a window. If so, later callers wait for its folder. */
    bool claimWindow() EXCLUDES(mLock);
    void openWindow(const CatchRef& running);
    /**
     * Starts the first round in the folder of the open window. Returns false if it cannot be used.
     */
    bool joinWindow(const CatchRef& running);
    void catchAlone(const CatchRef& running);
    LogFolderRef makeFolder(const CatchRef& running, LogFolder::Kind kind) const;
    LogFolderRef awaitCombinedFolder() EXCLUDES(mLock);
    void publishCombinedFolder(LogFolderRef folder) EXCLUDES(mLock);

    DumpContext& mDump;

    Mutex mLock;
    std::condition_variable mNamed;
    // Number of open windows whose folder is still being created.
    int mNaming GUARDED_BY(mLock) = 0;
    LogFolderRef mCombinedLogFolder GUARDED_BY(mLock);
};

}  // namespace android::kavel
