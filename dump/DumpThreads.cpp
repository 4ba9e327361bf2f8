#include "dump/DumpThreads.h"

#include <algorithm>
#include <exception>
#include <thread>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "platform/Log.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android {

using kavel::CatchRef;
using kavel::DumpContext;

namespace {

constexpr int64_t kShortWindowEvent = 0x402;
constexpr uint64_t kShortWindow = 5;  // seconds
constexpr uint64_t kWindowless = 30;  // seconds for the logs of an event without a window to come

/** The catch of @p kavelEventId where @p path is one to work in; else null, after one line. */
CatchRef findCatch(const char* thread, int kavelEventId, const std::string& path) {
    CatchRef running = kavel::dumpContext().catches.find(kavelEventId);
    if (running == nullptr || !kavel::isUsableFolder(path)) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel %s]: no event %d, or no folder '%s'.\n", thread,
                   kavelEventId, path.c_str());
        return nullptr;
    }
    return running;
}

int anrStacktraceFlag(uint32_t logInfo) {
    if ((logInfo & KAVEL_LOGINFO_ANR_TRACE) != 0) return 1;
    return (logInfo & KAVEL_LOGINFO_ANR_STACKTRACE) != 0 ? 2 : 0;
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

    running->resetCollected();
    auto mask = static_cast<uint32_t>(logInfo);
    const KavelEvent& event = *running->event;
    if (kavel::findFrameworkTraceEvent(event.eventId) != nullptr) {
        mask |= KAVEL_LOGINFO_FRAMEWORK_SYSTRACE;
    }
    if (kavel::findNativeTraceEvent(event.eventId) != nullptr) {
        kavel::dumpContext().captures.start(KAVEL_LOGINFO_NATIVE_SYSTRACE, event.timestamp);
        mask |= KAVEL_LOGINFO_NATIVE_SYSTRACE;
    }
    generateKavelHistoryLog(kavelEventId, path);
    collectLog(static_cast<int>(mask), path, kavelEventId);
}

void KavelDumpUtilThread::trailContinuousDumpThread(int logInfo, int kavelEventId,
                                                    std::string path) {
    const kavel::TraceSection trace("trailContinuousDumpThread");
    const CatchRef running = findCatch("trailContinuousDumpThread", kavelEventId, path);
    if (running == nullptr) return;

    awaitWindow(kavel::dumpContext(), running->event->eventId);
    const auto bits = static_cast<uint32_t>(logInfo);
    collectLog(static_cast<int>(bits & KAVEL_LOGINFO_CONTINUOUS), path, kavelEventId);
    trailLogPack(kavelEventId, path, anrStacktraceFlag(bits));
}

namespace kavel {

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
