#include "dump/TraceCapture.h"

#include <csignal>

#include <android-base/properties.h>

#include "dump/CollectionDirectory.h"
#include "dump/DumpContext.h"
#include "dump/LogFolderName.h"
#include "dump/NearestFile.h"
#include "dump/Pack.h"
#include "platform/FrameworkCall.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Signals.h"
#include "platform/TraceNativeUtils.h"
#include "platform/TraceSection.h"

namespace android::kavel {

namespace {

// Request codes of android.os.IKavelManager.
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
constexpr TraceScan kSystemTrace = {kArchiveDirectory,
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

std::string quotedPath(const TraceScan& scan, const std::string& name) {
    return shellQuote(std::string(scan.directory) + "/" + name);
}

/** Moves the file of the scan that is nearest to @p time into the folder @p path. */
void moveNearest(const TraceScan& scan, uint64_t time, const std::string& path,
                 const char* suffix) {
    const std::string name = scanForTrace(scan, time);
    if (name.empty()) return;
    collectAndCheck(path, scan.tag,
                    "mv " + quotedPath(scan, name) + " " + shellQuote(path) + suffix);
}

}  // namespace

void callFrameworkDumpANRTrace(const KavelEvent& event) {
    const TraceSection trace("callFrameworkDumpANRTrace");
    // Tools that read the log depend on this name of the step, which is not the function's.
    callFramework("callFrameworkBinderDemo", ANDROID_LOG_INFO, kDumpAnrTrace, {event.pid});
}

void callFrameworkDumpSystrace() {
    const TraceSection trace("callFrameworkDumpSystrace");
    callFramework("callFrameworkDumpSystrace", ANDROID_LOG_INFO, kDumpSystemTrace);
}

int dumpSystemServerTraces(const KavelEvent& event) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel dumpSystemServerTraces]: dumpSystemServerTraces start.\n");
    const int result = queueSignal(event.pid, SIGQUIT);
    if (result != 0) {
        // The line ends without a pid, because log readers expect exactly this text.
        KAVEL_LOGE(KAVEL_NO_TAG, "dumpSystemServerTraces: dump fail,failed to send signal to ");
    }
    return result;
}

void callNativeDumpSystrace(const CatchRef& running) {
    const SystemTrace& requested = running->event->type.trace;
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel callNativeDumpSystrace]: callNativeDumpSystrace:%ld",
               requested.source == SystemTrace::Source::Native ? static_cast<long>(requested.code)
                                                               : 0L);
    if (base::GetIntProperty<int64_t>("debug.atrace.tags.enableflags", 0) == 0) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel callNativeDumpSystrace]: Systrace status is off.\n");
        return;
    }
    running->context.cmdPool.commit([running] {
        dumpNativeSystraceWithThread(*running->event, running->folder()->path());
    });
}

void dumpNativeSystraceWithThread(const KavelEvent& event, const std::string& path) {
    constexpr const char* kPrefix = "[dravo_kavel dumpNativeSystraceWithThread]: ";
    if (TraceNativeUtils* const utils = TraceNativeUtils::getInstance()) {
        const CallLine::Outcome outcome = utils->stopDravoTracing(kSession, true, true);
        if (outcome != CallLine::Outcome::Returned) {
            KAVEL_LOGE(KAVEL_NO_TAG, "%sflush for %s: %s.\n", kPrefix, eventText(event).c_str(),
                       outcomeText(outcome));
        }
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "%sKavelNativeSystrace stop and restart.\n", kPrefix);
    const std::string name = getLatestNativeSystraceFilePath(event);
    if (name.empty()) {
        // Tools that read the log depend on the words "is not exist".
        KAVEL_LOGI(KAVEL_NO_TAG, "%sthe latest trace file is not exist", kPrefix);
        return;
    }
    if (!ensureCollectionDirectory()) {  // cp would create a file with this name
        KAVEL_LOGE(KAVEL_NO_TAG, "%s%s: %s cannot be used.\n", kPrefix, eventText(event).c_str(),
                   kArchiveDirectory);
        return;
    }
    collectAndCheck(path, kPrefix,
                    "cp " + quotedPath(kNativeTrace, name) + " " + kArchiveDirectory);
}

std::string getLatestNativeSystraceFilePath(const KavelEvent& event) {
    return scanForTrace(kNativeTrace, static_cast<uint64_t>(event.timestamp.realtimeNs));
}

void packSystraceLog(const std::string& path, uint64_t timeNs) {
    const TraceSection trace("packSystraceLog");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packSystraceLog]: packSystraceLog start.\n");
    moveNearest(kSystemTrace, timeNs, path, "");
}

void packSystemServerTraceLog(const std::string& path, uint64_t timeNs) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel packSystemServerTraceLog]: packSystemServerTraceLog start.\n");
    moveNearest(kSystemServerTrace, timeNs, path, "/");
}

void packPreAnrTrace(const std::string& path, uint64_t timeNs) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packPreAnrTrace]: packPreAnrTrace start.\n");
    moveNearest(kPreAnrTrace, timeNs, path, "/");
}

}  // namespace android::kavel
