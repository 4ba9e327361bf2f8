// What a field-trial build adds to a log folder before it is packed.

#include <log/log.h>

#include <android-base/stringprintf.h>
#include <cutils/properties.h>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "event/ExtraInfo.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android {

using base::StringPrintf;
using kavel::CatchRef;
using kavel::DumpContext;
using kavel::ExtraTextForm;

namespace {

constexpr const char* kPrefix = "[dravo_kavel trailLogPack]: ";
constexpr int64_t kQuickPackEvent = 0x402;

/** Apps that crash or hang are told apart by their versions. */
bool namesVersion(int64_t eventId) {
    const ExtraTextForm form = kavel::extraTextForm(eventId);
    return form == ExtraTextForm::ProcessVersion || form == ExtraTextForm::ProcessVersionType;
}

/** The messaging app's logs, which a service of the device stages for us. */
void packRequestedXlog(DumpContext& context, const std::string& path) {
    if (!context.xlogRequested) return;
    property_set("ctl.start", "copyXlogForKavel");
    kavel::sleepSeconds(3);
    KavelDumpUtilThread::packXlogForWeChat(path);
    context.xlogRequested = false;
}

/** System traces and system_server traces, whose files lie outside the folder. */
void packPendingCaptures(DumpContext& context, int64_t eventId, const std::string& path) {
    const auto time = [&](uint32_t bit) {
        return static_cast<unsigned long long>(context.captures.timeOf(bit));
    };
    if (kavel::findFrameworkTraceEvent(eventId) != nullptr ||
        context.captures.isPending(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack packSystraceLog]: pack framework systrace");
        KavelDumpUtilThread::packSystraceLog(path, time(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE));
        context.captures.clear(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE);
    }
    if (kavel::findNativeTraceEvent(eventId) != nullptr ||
        context.captures.isPending(KAVEL_LOGINFO_NATIVE_SYSTRACE)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack packSystraceLog]: pack native systrace");
        KavelDumpUtilThread::packSystraceLog(path, time(KAVEL_LOGINFO_NATIVE_SYSTRACE));
        context.captures.clear(KAVEL_LOGINFO_NATIVE_SYSTRACE);
    }
    if (context.captures.isPending(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES)) {
        kavel::sleepSeconds(6);
        KavelDumpUtilThread::packSystemServerTraceLog(path,
                                                      time(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES));
        context.captures.clear(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES);
    }
}

}  // namespace

void KavelDumpUtilThread::trailLogPack(int kavelEventId, std::string path,
                                       int needPackAnrStacktrace) {
    const kavel::TraceSection trace("trailLogPack");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel trailLogPack]: trailLogPack start.\n");
    DumpContext& context = kavel::dumpContext();
    const CatchRef running = context.catches.find(kavelEventId);
    if (running == nullptr || !kavel::isUsableFolder(path)) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel trailLogPack]: no event %d, or no folder '%s'.\n",
                   kavelEventId, path.c_str());
        return;
    }
    const KavelEvent& event = *running->event;

    if (namesVersion(event.eventId)) packExtraInfo(&event, event.eventId, path);
    packTargetBacktrace(path, event.eventId);
    packAnrStacktrace(event.pid, path, needPackAnrStacktrace,
                      static_cast<unsigned long long>(event.timestamp.realtimeNs));
    packRequestedXlog(context, path);
    if (event.extraInfo.processName == "com.android.systemui" &&
        event.extraInfo.eventType == "native_crash") {
        packNativeTombstones(path);
    }
    packPendingCaptures(context, event.eventId, path);
    if (event.eventId != kQuickPackEvent) {
        kavel::awaitCollected(event);
        kavel::sleepSeconds(2);
    }
    kavel::packFolder(kPrefix, path);
}

void KavelDumpUtilThread::packExtraInfo(const KavelEvent* event, long eventId, std::string path) {
    const bool isAnr = kavel::extraTextForm(eventId) == ExtraTextForm::ProcessVersion;
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packExtraInfo]: pack %s ExtraInfo start.\n",
               isAnr ? "anr" : "crash");
    const std::string folder = kavel::shellQuote(path);
    const auto line = [&](const char* key, const std::string& value) {
        return StringPrintf("echo [%s]:%s >>%s/extraInfo.txt", key,
                            kavel::shellQuoteForEcho(value).c_str(), folder.c_str());
    };
    std::string command = line("PackageName", event->extraInfo.processName) + " && " +
                          line("PackageVersion", event->extraInfo.packageVersion);
    if (!isAnr) command += " && " + line("eventType", event->extraInfo.eventType);
    kavel::logAndRun("[dravo_kavel packExtraInfo]: ", command, "\n");
}

void KavelDumpUtilThread::packTargetBacktrace(std::string path, long eventId) {
    const char* const pattern = eventId == 0x4     ? "/data/anr/kavel_UITimeout*"
                                : eventId == 0x101 ? "/data/anr/kavel_NoFocusWindow*"
                                                   : nullptr;
    if (pattern == nullptr) return;
    kavel::logAndRun("[dravo_kavel packTargetBacktrace]: ",
                     StringPrintf("mv %s %s/", pattern, kavel::shellQuote(path).c_str()), ";");
}

void KavelDumpUtilThread::packAnrStacktrace(int pid, std::string path, int needPackAnrStacktrace,
                                            unsigned long long time) {
    const kavel::TraceSection trace("packAnrStacktrace");
    const std::string folder = kavel::shellQuote(path);
    std::string command;
    if (needPackAnrStacktrace == 1) {
        command = StringPrintf("find /data/anr/ -name '*kavel_DumpTraces_%d_*' -exec mv {} %s/ \\;",
                               pid, folder.c_str());
    } else if (needPackAnrStacktrace == 2) {
        command = StringPrintf("find /data/anr/ -name '*_%d_*' -exec cp {} %s/ \\;", pid,
                               folder.c_str());
    } else {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack]: needPackAnrStacktrace is 0, need not pack ANR "
                   "stacktrace.\n");
        return;
    }
    packPreAnrTrace(path, time);
    kavel::logAndRun(kPrefix, command, ";");
}

void KavelDumpUtilThread::packNativeTombstones(std::string path) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packNativeTombstones start");  // the bracket stays open
    kavel::logAndRun(
            "[dravo_kavel trailLogPack packNativeTombstones]: ",
            StringPrintf("cp /data/tombstones/$(ls -t /data/tombstones | grep -v .pb | head -1) %s",
                         kavel::shellQuote(path).c_str()),
            ";");
}

bool KavelDumpUtilThread::verifyLogIntegrity(int kavelEventId) {
    const CatchRef running = kavel::dumpContext().catches.find(kavelEventId);
    return running != nullptr && kavel::isCollected(*running->event);
}

}  // namespace android
