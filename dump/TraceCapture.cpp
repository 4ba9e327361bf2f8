// Captures that are not plain commands: traces asked of the framework, of a process by signal, and
// of the platform's trace utility. Their files appear outside the log folder; the pack looks for
// those that fit the event's time best.

#include <csignal>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "dump/NearestFile.h"
#include "platform/FrameworkCall.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Signals.h"
#include "platform/TraceNativeUtils.h"
#include "platform/TraceSection.h"

namespace android {

using base::StringPrintf;
using kavel::CatchRef;
using kavel::TraceScan;

namespace {

// Requests of android.os.IKavelManager.
constexpr uint32_t kDumpAnrTrace = 2;
constexpr uint32_t kDumpSystemTrace = 7;

constexpr const char* kSession = "dravo_kavel";
constexpr const char* kTracesDirectory = "/data/local/traces";
constexpr const char* kAnrDirectory = "/data/anr";

constexpr TraceScan kNativeTrace = {
        kTracesDirectory,
        {"dravo-trace", "perfetto-trace"},
        10,
        "[dravo_kavel callNativeDumpSystrace]: ",
        "[dravo_kavel getLatestNativeSystraceFilePath]: tracePath not found.\n"};
constexpr TraceScan kSystemTrace = {kavel::kArchiveDirectory,
                                    {"dravo-trace", ""},
                                    10,
                                    "[dravo_kavel packSystraceLog]: ",
                                    "[dravo_kavel packSystraceLog]: plxPath not found.\n"};
constexpr TraceScan kSystemServerTrace = {
        kAnrDirectory,
        {"trace_", ""},
        10,
        "[dravo_kavel packSystemServerTraceLog]: ",
        "[dravo_kavel packSystemServerTraceLog]: anrTracePath not found.\n"};
constexpr TraceScan kPreAnrTrace = {kAnrDirectory,
                                    {"trace_", ""},
                                    2,
                                    "[dravo_kavel packPreAnrTrace]: ",
                                    "[dravo_kavel packPreAnrTrace]: anrTracePath not found.\n"};

CatchRef findCatch(const char* step, int kavelEventId) {
    CatchRef running = kavel::dumpContext().catches.find(kavelEventId);
    if (running == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel %s]: no event %d.\n", step, kavelEventId);
    }
    return running;
}

/** Runs @p verb on the file @p name of the scan's directory, with @p target as it stands. */
void runOnTrace(const char* prefix, const char* verb, const TraceScan& scan,
                const std::string& name, const std::string& target) {
    const std::string file = kavel::shellQuote(std::string(scan.directory) + "/" + name);
    kavel::logAndRun(prefix, StringPrintf("%s %s %s", verb, file.c_str(), target.c_str()));
}

void moveNearest(const TraceScan& scan, uint64_t time, const std::string& target) {
    const std::string name = kavel::scanForTrace(scan, time);
    if (!name.empty()) runOnTrace(scan.tag, "mv", scan, name, target);
}

}  // namespace

void KavelDumpUtilThread::callFrameworkDumpANRTrace(int kavelEventId) {
    const kavel::TraceSection trace("callFrameworkDumpANRTrace");
    const CatchRef running = findCatch("callFrameworkDumpANRTrace", kavelEventId);
    if (running == nullptr) return;
    kavel::callFramework("callFrameworkBinderDemo", ANDROID_LOG_INFO, kDumpAnrTrace,
                         {running->event->pid});
}

void KavelDumpUtilThread::callFrameworkDumpSystrace() {
    const kavel::TraceSection trace("callFrameworkDumpSystrace");
    kavel::callFramework("callFrameworkDumpSystrace", ANDROID_LOG_INFO, kDumpSystemTrace);
}

int KavelDumpUtilThread::dumpSystemServerTraces(int kavelEventId, std::string /*path*/) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel dumpSystemServerTraces]: dumpSystemServerTraces start.\n");
    const CatchRef running = findCatch("dumpSystemServerTraces", kavelEventId);
    if (running == nullptr) return -1;
    const int result = kavel::queueSignal(running->event->pid, SIGQUIT);
    if (result != 0) {
        // The line ends where a pid could follow: its readers look for the whole of it.
        KAVEL_LOGE(KAVEL_NO_TAG, "dumpSystemServerTraces: dump fail,failed to send signal to ");
    }
    return result;
}

void KavelDumpUtilThread::callNativeDumpSystrace(int kavelEventId) {
    const CatchRef running = findCatch("callNativeDumpSystrace", kavelEventId);
    if (running == nullptr) return;
    const kavel::TraceEvent* const row = kavel::findNativeTraceEvent(running->event->eventId);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel callNativeDumpSystrace]: callNativeDumpSystrace:%ld",
               row == nullptr ? 0L : static_cast<long>(row->traceCode));
    if (base::GetIntProperty<int64_t>("debug.atrace.tags.enableflags", 0) == 0) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel callNativeDumpSystrace]: Systrace status is off.\n");
        return;
    }
    kavel::dumpContext().cmdPool.commit(
            [running] { dumpNativeSystraceWithThread(running->event->kavelEventId); });
}

void KavelDumpUtilThread::dumpNativeSystraceWithThread(int kavelEventId) {
    constexpr const char* kPrefix = "[dravo_kavel dumpNativeSystraceWithThread]: ";
    if (TraceNativeUtils* const utils = TraceNativeUtils::getInstance()) {
        const kavel::CallLine::Outcome outcome = utils->stopDravoTracing(kSession, true, true);
        if (outcome != kavel::CallLine::Outcome::Returned) {
            KAVEL_LOGE(KAVEL_NO_TAG, "%sflush for event %d: %s.\n", kPrefix, kavelEventId,
                       kavel::outcomeText(outcome));
        }
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "%sKavelNativeSystrace stop and restart.\n", kPrefix);
    const std::string name = getLatestNativeSystraceFilePath(kavelEventId);
    if (name.empty()) {
        KAVEL_LOGI(KAVEL_NO_TAG, "%sthe latest trace file is not exist", kPrefix);
        return;
    }
    runOnTrace(kPrefix, "cp", kNativeTrace, name, kavel::kArchiveDirectory);
}

std::string KavelDumpUtilThread::getLatestNativeSystraceFilePath(int kavelEventId) {
    const CatchRef running = findCatch("getLatestNativeSystraceFilePath", kavelEventId);
    if (running == nullptr) return "";
    const int64_t time = running->event->timestamp.realtimeNs;
    return kavel::scanForTrace(kNativeTrace, static_cast<uint64_t>(time));
}

void KavelDumpUtilThread::packSystraceLog(std::string path, unsigned long long time) {
    const kavel::TraceSection trace("packSystraceLog");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packSystraceLog]: packSystraceLog start.\n");
    moveNearest(kSystemTrace, time, kavel::shellQuote(path));
}

void KavelDumpUtilThread::packSystemServerTraceLog(std::string path, unsigned long long time) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel packSystemServerTraceLog]: packSystemServerTraceLog start.\n");
    moveNearest(kSystemServerTrace, time, kavel::shellQuote(path) + "/");
}

void KavelDumpUtilThread::packPreAnrTrace(std::string path, unsigned long long time) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packPreAnrTrace]: packPreAnrTrace start.\n");
    moveNearest(kPreAnrTrace, time, kavel::shellQuote(path) + "/");
}

}  // namespace android
