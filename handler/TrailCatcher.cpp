#include "handler/TrailCatcher.h"

#include <log/log.h>

#include "dump/DumpThread.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCollector.h"
#include "dump/LogPath.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

void startImmediateDump(const CatchRef& running, LogFolder::Work work) {
    startDumpThread(running, [running, work = std::move(work)] {
        KavelDumpUtilThread::immediateDumpThread(running, work);
    });
}

void startBoth(const CatchRef& running) {
    startImmediateDump(running, running->folder()->beginWork(kFirstRound));
    startDumpThread(running,
                    [running] { KavelDumpUtilThread::trailContinuousDumpThread(running); });
}

}  // namespace

void TrailCatcher::trailKavelLogCatcher(const EventRef& event) {
    const TraceSection trace("trailKavelLogCatcher");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher started.\n");
    const CatchRef running = mDump.catches.add(event);

    if (!isCombined(*event)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher event not "
                   "combined.\n");
        catchAlone(running);
        return;
    }
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailKavelLogCatcher]: trailKavelLogCatcher event combined.\n");
    if (claimWindow()) {
        openWindow(running);
    } else if (!joinWindow(running)) {
        catchAlone(running);
    }
}

bool TrailCatcher::isCombined(const KavelEvent& event) const {
    return !event.type.isAbnormalAction() && mDump.parameters.getTimeWindow(event.eventId) != 0;
}

bool TrailCatcher::claimWindow() {
    MutexLock lock(mLock);
    if (mDump.combinedDumpRunning) return false;
    mDump.combinedDumpRunning = true;
    ++mNaming;
    return true;
}

LogFolderRef TrailCatcher::makeFolder(const CatchRef& running, LogFolder::Kind kind) const {
    auto folder = std::make_shared<LogFolder>(
            buildLogPathFolderName(mDump.parameters, running->event.get()), kind);
    running->setFolder(folder);
    return folder;
}

void TrailCatcher::catchAlone(const CatchRef& running) {
    makeFolder(running, LogFolder::Kind::Own);
    startBoth(running);
}

void TrailCatcher::openWindow(const CatchRef& running) {
    LogFolderRef folder;
    try {
        folder = makeFolder(running, LogFolder::Kind::Window);
    } catch (...) {
        mDump.combinedDumpRunning = false;
        publishCombinedFolder(nullptr);
        throw;
    }
    publishCombinedFolder(folder);
    try {
        startBoth(running);
    } catch (...) {
        // The thread that would close the window may not have started.
        mDump.combinedDumpRunning = false;
        throw;
    }
}

bool TrailCatcher::joinWindow(const CatchRef& running) {
    const LogFolderRef folder = awaitCombinedFolder();
    // The folder is null only if the event that opened the window could not create one.
    LogFolder::Work work = folder == nullptr ? nullptr : folder->beginWork(kFirstRound);
    if (work == nullptr || !folder->isOpen()) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR,
                    "[dravo_kavel trailKavelLogCatcher]: %s is caught alone, the folder of the "
                    "window is gone: '%s'\n",
                    eventText(*running->event).c_str(),
                    folder == nullptr ? "" : folder->path().c_str());
        return false;
    }
    running->setFolder(folder);
    startImmediateDump(running, std::move(work));
    return true;
}

void TrailCatcher::publishCombinedFolder(LogFolderRef folder) {
    MutexLock lock(mLock);
    mCombinedLogFolder = std::move(folder);
    --mNaming;
    mNamed.notify_all();
}

LogFolderRef TrailCatcher::combinedLogFolder() {
    MutexLock lock(mLock);
    return mCombinedLogFolder;
}

LogFolderRef TrailCatcher::awaitCombinedFolder() {
    MutexLock lock(mLock);
    while (mNaming > 0) lock.wait(mNamed);
    return mCombinedLogFolder;
}

}  // namespace android::kavel
