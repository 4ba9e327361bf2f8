#include "handler/HangWarnings.h"

#include <string>

#include <android-base/file.h>

#include "dump/DumpThread.h"
#include "dump/LogPath.h"
#include "dump/Nwatchcall.h"
#include "platform/Log.h"

namespace android::kavel {
namespace {

/** Maximum number of hang warnings that wait for their files. Each one holds a thread. */
constexpr int kMaxWaitingWarnings = 31;

/** Claims a slot; false if all are in use. */
bool claimSlot(std::atomic<int>& waiting) {
    int now = waiting;
    while (now < kMaxWaitingWarnings) {
        if (waiting.compare_exchange_weak(now, now + 1)) return true;
    }
    return false;
}

}  // namespace

void HangWarnings::collect(const EventRef& event) {
    if (!claimSlot(*mWaiting)) {
        KAVEL_LOGE(
                KAVEL_NO_TAG,
                "[dravo_kavel copyNwatchcallLog]: %d hang warnings are waiting already, event %d "
                "skipped.\n",
                kMaxWaitingWarnings, event->kavelEventId);
        ReportJournal::instance().note(Fate::TooManyWaiting, *event);
        return;
    }
    // Released when the thread ends, or at once if there is no thread.
    const std::shared_ptr<void> slot(nullptr, [waiting = mWaiting](void* /*none*/) { --*waiting; });
    const std::string folder = buildLogPathFolderName(mDump.parameters, event.get());
    const CatchRef running = mDump.catches.add(event);
    const auto logFolder = std::make_shared<LogFolder>(folder);
    running->setFolder(logFolder);
    if (!logFolder->isOpen()) {
        running->failWithoutFolder("[dravo_kavel copyNwatchcallLog]", Fate::NoFolder);
        return;
    }
    base::WriteStringToFile("", folder + "/" + kHangWarningMarker);
    running->enter(CatchPhase::AwaitingFiles, kHangFilesTime);
    startDumpThread(running, [running, folder, slot] {
        running->beginFirstRound();
        packNwatchcallLog(copyNwatchcallLog(folder), folder, eventText(*running->event));
    });
}

}  // namespace android::kavel
