#include "dump/DumpThreads.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <thread>

#include "dump/DumpContext.h"
#include "dump/HandlerSeams.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android {

using kavel::CatchRef;
using kavel::DumpContext;

namespace {

constexpr int64_t kShortWindowEvent = 0x402;
constexpr uint64_t kShortWindow = 5;        // seconds
constexpr uint64_t kCommercialWindow = 30;  // seconds, whatever the event's own window
constexpr uint64_t kWindowless = 30;  // seconds for the logs of an event without a window to come

/** The path of a commercial catch: @p path as long as it stands, else the event's own folder. */
std::string commercialFolder(const CatchRef& running, const std::string& path) {
    std::error_code gone;
    if (kavel::isUsableFolder(path) && std::filesystem::is_directory(path, gone)) return path;
    std::string own = running->commercial.ownFolder();
    if (!own.empty()) return own;
    own = kavel::makeLogFolder(*running->event);
    running->commercial.setOwnFolder(own);
    return own;
}

/**
 * The catch of @p kavelEventId where there is a folder to work in, which goes to @p path; else
 * null, after one line.
 */
CatchRef findCatch(const char* thread, int kavelEventId, std::string& path) {
    CatchRef running = kavel::dumpContext().catches.find(kavelEventId);
    if (running != nullptr && running->commercial.isCommercial()) {
        path = commercialFolder(running, path);
    }
    if (running == nullptr || !kavel::isUsableFolder(path)) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel %s]: no event %d, or no folder '%s'.\n", thread,
                   kavelEventId, path.c_str());
        return nullptr;
    }
    return running;
}

/** Removes the folders of technical events that no abnormal action came for. */
void removeFolders(const std::vector<CatchRef>& catches) {
    for (const CatchRef& dropped : catches) {
        const std::string folder = dropped->commercial.ownFolder();
        if (folder.empty()) continue;
        kavel::logAndRun("[dravo_kavel immediateDumpThread]: ",
                         "rm -rf " + kavel::shellQuote(folder));
    }
}

/** Sleeps until the streaming logs are worth taking again. */
void awaitWindow(DumpContext& context, int64_t eventId) {
    const int64_t window = context.parameters.getTimeWindow(eventId);
    if (window == 0) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailContinuousDumpThread]: waittime is 0, wait 30s to generate "
                   "log.\n");
        kavel::sleepSeconds(kWindowless);
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailContinuousDumpThread]: waittime is 0, continue to collect "
                   "continuous log.\n");
        return;
    }
    // A negative window is a slip of whoever configured the event. As a count of seconds it would
    // never end, and every later event would join a folder that is never packed.
    const uint64_t seconds = eventId == kShortWindowEvent
                                     ? kShortWindow
                                     : static_cast<uint64_t>(std::max<int64_t>(window, 0));
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailContinuousDumpThread]: trailContinuousDumpThread start in %d "
               "s.\n",
               static_cast<int>(std::min<uint64_t>(seconds, INT32_MAX)));
    kavel::sleepSeconds(seconds);
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel trailContinuousDumpThread]: trailContinuousDumpThread start.\n");
    context.combinedDumpRunning = false;
}

}  // namespace

void KavelDumpUtilThread::immediateDumpThread(int logInfo, int kavelEventId, std::string path) {
    const kavel::TraceSection trace("immediateDumpThread");
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel immediateDumpThread]: immediateDumpThread start, loginfo %d "
               "kavelEventId %d.\n",
               logInfo, kavelEventId);
    const CatchRef running = findCatch("immediateDumpThread", kavelEventId, path);
    if (running == nullptr) return;
    DumpContext& context = kavel::dumpContext();

    auto mask = static_cast<uint32_t>(logInfo);
    const KavelEvent& event = *running->event;
    event.collected = 0;
    if (kavel::findFrameworkTraceEvent(event.eventId) != nullptr) {
        mask |= KAVEL_LOGINFO_FRAMEWORK_SYSTRACE;
    }
    if (kavel::findNativeTraceEvent(event.eventId) != nullptr) {
        context.captures.start(KAVEL_LOGINFO_NATIVE_SYSTRACE, event.timestamp);
        mask |= KAVEL_LOGINFO_NATIVE_SYSTRACE;
    }
    std::vector<CatchRef> dropped;
    if (running->commercial.isCommercial() && !kavel::isAbnormalAction(event.eventId)) {
        // Left for the abnormal action next to it, whose pack takes the folder along.
        dropped = context.technical.keep(running, kavel::monotonicNs());
    }
    generateKavelHistoryLog(kavelEventId, path);
    collectLog(static_cast<int>(mask), path, kavelEventId);
    removeFolders(dropped);  // evidence first: a disk in trouble takes its time over a removal
}

void KavelDumpUtilThread::trailContinuousDumpThread(int logInfo, int kavelEventId,
                                                    std::string path) {
    const kavel::TraceSection trace("trailContinuousDumpThread");
    const CatchRef running = findCatch("trailContinuousDumpThread", kavelEventId, path);
    if (running == nullptr) return;

    awaitWindow(kavel::dumpContext(), running->event->eventId);
    const auto bits = static_cast<uint32_t>(logInfo);
    collectLog(static_cast<int>(bits & KAVEL_LOGINFO_CONTINUOUS), path, kavelEventId);
    trailLogPack(kavelEventId, path, kavel::anrStacktraceFlag(bits));
}

void KavelDumpUtilThread::commercialContinuousDumpThread(int kavelEventId, std::string path) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel commercialContinuousDumpThread]: commercialContinuousDumpThread "
               "start.\n");
    kavel::sleepSeconds(kCommercialWindow);
    // After the wait: a folder that was shared with a trail window may be packed and gone by now.
    const CatchRef running = findCatch("commercialContinuousDumpThread", kavelEventId, path);
    if (running == nullptr) return;
    const auto logInfo = static_cast<uint32_t>(running->commercial.logInfo());
    const auto mask = static_cast<int>(logInfo & KAVEL_LOGINFO_CONTINUOUS);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commercialContinuousDumpThread]: loginfo is %d.\n",
               mask);
    collectLog(mask, path, kavelEventId);
    commercialLogPack(kavelEventId, path, "");
}

namespace kavel {

int anrStacktraceFlag(uint32_t logInfo) {
    if ((logInfo & KAVEL_LOGINFO_ANR_TRACE) != 0) return 1;
    return (logInfo & KAVEL_LOGINFO_ANR_STACKTRACE) != 0 ? 2 : 0;
}

void startDumpThread(CatchRef running, std::function<void()> body) {
    std::thread([running = std::move(running), body = std::move(body)] {
        try {
            body();
        } catch (const std::exception& e) {
            KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel startDumpThread]: catch of event %d ended: %s\n",
                       running->event->kavelEventId, e.what());
        }
    }).detach();
}

}  // namespace kavel
}  // namespace android
