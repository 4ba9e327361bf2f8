#include "handler/TrailCatcher.h"

#include "dump/DumpThreads.h"
#include "dump/KavelDumpUtilThread.h"
#include "handler/ImmediateDump.h"
#include "handler/LogFolder.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

void startBoth(const CatchRef& running, const std::string& folder) {
    startImmediateDump(running, folder);
    const KavelEvent& event = *running->event;
    startDumpThread(running, [logInfo = event.logInfo, id = event.kavelEventId, folder] {
        KavelDumpUtilThread::trailContinuousDumpThread(logInfo, id, folder);
    });
}

}  // namespace

void TrailCatcher::trailKavelLogCatcher(const EventRef& event) {
    const TraceSection trace("trailKavelLogCatcher");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher started.\n");
    if (mEvents.isEmpty()) return;
    const CatchRef running = mDump.catches.add(event);

    if (!isCombined(*event)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher event not "
                   "combined.\n");
        catchAlone(event, running);
        return;
    }
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher event combined.\n");
    if (!mDump.combinedDumpRunning) {
        openWindow(event, running);
        return;
    }
    // The folder is empty only where the event that opened the window failed to make one.
    const std::string folder = awaitCombinedFolder();
    if (folder.empty()) {
        catchAlone(event, running);
    } else {
        startImmediateDump(running, folder);
    }
}

bool TrailCatcher::isCombined(const KavelEvent& event) const {
    return !isAbnormalAction(event.eventId) && mDump.parameters.getTimeWindow(event.eventId) != 0;
}

void TrailCatcher::catchAlone(const EventRef& event, const CatchRef& running) {
    startBoth(running, buildLogPathFolderName(mDump.parameters, event.get()));
}

void TrailCatcher::openWindow(const EventRef& event, const CatchRef& running) {
    {
        MutexLock lock(mLock);
        ++mNaming;
    }
    // A load and then a store, not one exchange: two events at the very same time open a window
    // each, and each gets its archive.
    mDump.combinedDumpRunning = true;
    std::string folder;
    try {
        folder = buildLogPathFolderName(mDump.parameters, event.get());
        publishCombinedFolder(folder);
    } catch (...) {
        mDump.combinedDumpRunning = false;
        publishCombinedFolder("");
        throw;
    }
    try {
        startBoth(running, folder);
    } catch (...) {
        // Without its second thread nobody would ever close the window.
        mDump.combinedDumpRunning = false;
        throw;
    }
}

void TrailCatcher::publishCombinedFolder(const std::string& folder) {
    MutexLock lock(mLock);
    mCombinedLogFolder = folder;
    --mNaming;
    mNamed.notify_all();
}

std::string TrailCatcher::combinedLogFolder() {
    MutexLock lock(mLock);
    return mCombinedLogFolder;
}

std::string TrailCatcher::awaitCombinedFolder() {
    MutexLock lock(mLock);
    while (mNaming > 0) lock.wait(mNamed);
    return mCombinedLogFolder;
}

}  // namespace android::kavel
