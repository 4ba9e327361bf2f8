#include "dump/KavelDumpUtilThread.h"

#include <algorithm>

#include <log/log.h>

#include "dump/CommercialLogPack.h"
#include "dump/DumpContext.h"
#include "dump/EventLine.h"
#include "dump/History.h"
#include "dump/LogCollector.h"
#include "dump/LogCommands.h"
#include "dump/LogPath.h"
#include "dump/Pack.h"
#include "dump/TrailLogPack.h"
#include "platform/Clock.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android {

using kavel::Catch;
using kavel::CatchPhase;
using kavel::CatchRef;
using kavel::DumpContext;
using kavel::Fate;
using kavel::LogFolder;
using kavel::LogFolderRef;
using kavel::SystemTrace;

namespace {

constexpr uint64_t kQuickWindow = 5;        // seconds
constexpr uint64_t kCommercialWindow = 30;  // seconds; the event's own window is not used
constexpr uint64_t kWindowless = 30;        // seconds that an event without a window waits
/** Maximum length of a window in seconds: while it is open, events of all types join it. */
constexpr int64_t kMaxWindow = 3600;

/**
 * Returns the folder of a commercial catch. Creates one if the catch has none, or if its folder is
 * gone or is that of a window that is packed. A folder of its own that is packed is not replaced.
 */
LogFolderRef commercialFolder(const CatchRef& running) {
    LogFolderRef folder = running->folder();
    const bool isUsable =
            folder != nullptr && (folder->isOpen() || (!folder->isWindow() && folder->isClosed()));
    if (isUsable) return folder;
    folder = std::make_shared<LogFolder>(
            kavel::buildLogPathFolderName(running->context.parameters, running->event.get()));
    running->setFolder(folder);
    return folder;
}

void addEventLine(const char* thread, const CatchRef& running, LogFolder& folder) {
    const KavelEvent& event = *running->event;
    const std::string name = running->context.parameters.eventName(event.eventId);
    const kavel::CommercialNotes& notes = running->commercial;
    const auto related =
            notes.hasRelatedEvents() ? notes.relatedEvents() : std::vector<std::string>();
    if (folder.addEventLine(kavel::eventLine(event, name, related))) return;
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "[dravo_kavel %s]: %s is not in %s of %s\n", thread,
                kavel::eventText(event).c_str(), kavel::kEventsFile, folder.path().c_str());
}

/** Removes the folders of technical events that no abnormal action has claimed. */
void removeFolders(const std::vector<CatchRef>& catches) {
    for (const CatchRef& dropped : catches) {
        const LogFolderRef folder = dropped->folder();
        if (folder == nullptr || folder->isWindow() || !folder->close()) continue;
        dropped->fail(Fate::Unclaimed);
        kavel::removeFolder("[dravo_kavel immediateDumpThread]: ", folder->path());
    }
}

/** Returns the seconds to wait for an event whose window is @p window seconds. */
uint64_t windowSeconds(const KavelEvent& event, int64_t window) {
    if (event.type.has(kavel::kQuickPack)) return kQuickWindow;
    if (window > kMaxWindow) {
        KAVEL_LOGW(KAVEL_NO_TAG,
                   "[dravo_kavel trailContinuousDumpThread]: window of %lld s of %s is cut to %lld "
                   "s.\n",
                   static_cast<long long>(window), kavel::eventText(event).c_str(),
                   static_cast<long long>(kMaxWindow));
    }
    // A negative window is a mistake in the settings. As an unsigned count it would never end.
    return static_cast<uint64_t>(std::clamp<int64_t>(window, 0, kMaxWindow));
}

/** Waits until the second round: for the event's window, or a fixed time if it has none. */
void awaitWindow(Catch& running) {
    DumpContext& context = running.context;
    const KavelEvent& event = *running.event;
    const int64_t window = context.parameters.getTimeWindow(event.eventId);
    if (window == 0) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailContinuousDumpThread]: waittime is 0, wait 30s to generate "
                   "log.\n");
        running.enter(CatchPhase::Window, std::chrono::seconds(kWindowless));
        kavel::sleepSeconds(kWindowless);
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailContinuousDumpThread]: waittime is 0, continue to collect "
                   "continuous log.\n");
        return;
    }
    const uint64_t seconds = windowSeconds(event, window);
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailContinuousDumpThread]: trailContinuousDumpThread start in %d "
               "s.\n",
               static_cast<int>(seconds));
    running.enter(CatchPhase::Window, std::chrono::seconds(seconds));
    kavel::sleepSeconds(seconds);
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailContinuousDumpThread]: trailContinuousDumpThread start.\n");
    context.combinedDumpRunning = false;
}

}  // namespace

void KavelDumpUtilThread::immediateDumpThread(const CatchRef& running, LogFolder::Work work) {
    const kavel::TraceSection trace("immediateDumpThread");
    const KavelEvent& event = *running->event;
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel immediateDumpThread]: immediateDumpThread start, loginfo %d "
               "kavelEventId %d.\n",
               event.logInfo, event.kavelEventId);
    const bool isCommercial = running->commercial.isCommercial();
    LogFolderRef folder = isCommercial ? commercialFolder(running) : running->folder();
    if (work == nullptr) work = folder->beginWork(kavel::kFirstRound);
    if (work == nullptr && isCommercial) {  // the folder of the window was closed meanwhile
        folder = commercialFolder(running);
        work = folder->beginWork(kavel::kFirstRound);
    }
    running->beginFirstRound();
    if (work == nullptr || !folder->isOpen())
        return running->failWithoutFolder("[dravo_kavel immediateDumpThread]", Fate::NoFolder);

    DumpContext& context = running->context;
    auto mask = static_cast<uint32_t>(event.logInfo);
    event.collected = 0;
    if (event.type.trace.source == SystemTrace::Source::Framework) {
        mask |= KAVEL_LOGINFO_FRAMEWORK_SYSTRACE;
    }
    if (event.type.trace.source == SystemTrace::Source::Native) {
        context.captures.start(KAVEL_LOGINFO_NATIVE_SYSTRACE, event.timestamp);
        mask |= KAVEL_LOGINFO_NATIVE_SYSTRACE;
    }
    std::vector<CatchRef> dropped;
    if (isCommercial && !event.type.isAbnormalAction()) {
        // An abnormal action near it packs the folder.
        dropped = context.technical.keep(running, kavel::monotonicNs());
        running->enter(CatchPhase::Kept);
    }
    kavel::generateKavelHistoryLog(running);
    addEventLine("immediateDumpThread", running, *folder);
    kavel::collectLog(mask, running);
    work = nullptr;
    removeFolders(dropped);  // last, because a removal can take long on a slow disk
}

void KavelDumpUtilThread::trailContinuousDumpThread(const CatchRef& running) {
    const kavel::TraceSection trace("trailContinuousDumpThread");
    const KavelEvent& event = *running->event;
    const LogFolderRef folder = running->folder();
    awaitWindow(*running);
    // The window that this event opened ends here, even if the setting has become 0 meanwhile.
    if (folder->isWindow()) running->context.combinedDumpRunning = false;
    if (!folder->isOpen())
        return running->failWithoutFolder("[dravo_kavel trailContinuousDumpThread]",
                                          Fate::NothingToPack);
    running->enter(CatchPhase::SecondRound);
    const auto bits = static_cast<uint32_t>(event.logInfo);
    kavel::collectLog(bits & KAVEL_LOGINFO_CONTINUOUS, running);
    kavel::trailLogPack(running, kavel::anrStacktraceFlag(bits));
}

void KavelDumpUtilThread::commercialContinuousDumpThread(
        const CatchRef& running, const std::function<std::vector<kavel::EventRef>()>& ring) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel commercialContinuousDumpThread]: commercialContinuousDumpThread "
               "start.\n");
    running->enter(CatchPhase::Window, std::chrono::seconds(kCommercialWindow));
    kavel::sleepSeconds(kCommercialWindow);
    running->awaitFirstRound(kavel::kLateWorkPatience);
    running->enter(CatchPhase::SecondRound);
    // After the waits, because the folder of a window may be packed by now.
    const LogFolderRef before = running->folder();
    const LogFolderRef folder = commercialFolder(running);
    if (!folder->isOpen())
        return running->failWithoutFolder("[dravo_kavel commercialContinuousDumpThread]",
                                          Fate::NothingToPack);
    if (folder != before) addEventLine("commercialContinuousDumpThread", running, *folder);
    const auto logInfo = static_cast<uint32_t>(running->commercial.logInfo());
    const uint32_t mask = logInfo & KAVEL_LOGINFO_CONTINUOUS;
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commercialContinuousDumpThread]: loginfo is %d.\n",
               static_cast<int>(mask));
    kavel::collectLog(mask, running);
    kavel::commercialLogPack(running, ring());
}

}  // namespace android
