#include "dump/TrailLogPack.h"

#include <filesystem>

#include <log/log.h>

#include <android-base/stringprintf.h>
#include <cutils/properties.h>

#include "dump/AppLogs.h"
#include "dump/DumpContext.h"
#include "dump/LogCommands.h"
#include "dump/Pack.h"
#include "dump/TraceCapture.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

constexpr const char* kPrefix = "[dravo_kavel trailLogPack]: ";
constexpr const char* kAnrDirectory = "/data/anr";

/**
 * Whether @p directory contains, at any depth, anything but regular files and folders. `cp` would
 * follow a link and block on a FIFO.
 */
bool holdsSpecialFile(const char* directory) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        const fs::file_type type = entry->symlink_status(gone).type();
        if (type != fs::file_type::regular && type != fs::file_type::directory) return true;
    }
    return false;
}

/** Packs the messaging app's logs, which a service of the device copies to a staging folder. */
void packRequestedXlog(DumpContext& context, const std::string& path) {
    if (!context.xlogRequested) return;
    property_set("ctl.start", "copyXlogForKavel");
    sleepSeconds(3);
    packXlogForWeChat(path);
    context.xlogRequested = false;
}

/** Packs system traces and system_server traces, whose files are outside the folder. */
void packPendingCaptures(DumpContext& context, const EventType& type, const std::string& path) {
    const auto time = [&](uint32_t bit) {
        return static_cast<uint64_t>(context.captures.timeOf(bit));
    };
    if (type.trace.source == SystemTrace::Source::Framework ||
        context.captures.isPending(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack packSystraceLog]: pack framework systrace");
        packSystraceLog(path, time(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE));
        context.captures.clear(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE);
    }
    if (type.trace.source == SystemTrace::Source::Native ||
        context.captures.isPending(KAVEL_LOGINFO_NATIVE_SYSTRACE)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack packSystraceLog]: pack native systrace");
        packSystraceLog(path, time(KAVEL_LOGINFO_NATIVE_SYSTRACE));
        context.captures.clear(KAVEL_LOGINFO_NATIVE_SYSTRACE);
    }
    if (context.captures.isPending(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES)) {
        sleepSeconds(6);
        packSystemServerTraceLog(path, time(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES));
        context.captures.clear(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES);
    }
}

}  // namespace

void trailLogPack(const CatchRef& running, int needPackAnrStacktrace) {
    const TraceSection trace("trailLogPack");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel trailLogPack]: trailLogPack start.\n");
    DumpContext& context = running->context;
    const KavelEvent& event = *running->event;
    const LogFolderRef folder = running->folder();
    const PackJob job = {kPrefix, eventText(event)};
    if (!canPack(job, *folder)) return;
    const std::string& path = folder->path();

    if (event.type.extraInfo != ExtraInfoFile::None) packExtraInfo(event, path);
    packTargetBacktrace(event, path);
    packAnrStacktrace(event, path, needPackAnrStacktrace);
    packRequestedXlog(context, path);
    if (event.extraInfo.processName == "com.android.systemui" &&
        event.extraInfo.eventType == "native_crash") {
        packNativeTombstones(path);
    }
    packPendingCaptures(context, event.type, path);
    if (!event.type.has(kQuickPack)) {
        running->enter(CatchPhase::AwaitingBits);
        awaitCollected(event);
        sleepSeconds(2);
    }
    running->enter(CatchPhase::AwaitingCommands);
    if (!closeFolder(kPrefix, event, *folder, kLateWorkPatience)) return;
    running->enter(CatchPhase::Packing);
    packFolder(job, *folder);
}

void packExtraInfo(const KavelEvent& event, const std::string& path) {
    const bool isAnr = event.type.extraInfo == ExtraInfoFile::Anr;
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packExtraInfo]: pack %s ExtraInfo start.\n",
               isAnr ? "anr" : "crash");
    const std::string folder = shellQuote(path);
    const auto line = [&](const char* key, const std::string& value) {
        return StringPrintf("echo [%s]:%s >>%s/extraInfo.txt", key,
                            shellQuoteForEcho(value).c_str(), folder.c_str());
    };
    std::string command = line("PackageName", event.extraInfo.processName) + " && " +
                          line("PackageVersion", event.extraInfo.packageVersion);
    if (!isAnr) command += " && " + line("eventType", event.extraInfo.eventType);
    collectInto(path, "[dravo_kavel packExtraInfo]: ", command, "\n");
}

void packTargetBacktrace(const KavelEvent& event, const std::string& path) {
    const char* const pattern = event.type.backtrace;
    if (pattern == nullptr) return;
    collectInto(path, "[dravo_kavel packTargetBacktrace]: ",
                StringPrintf("mv %s %s/", pattern, shellQuote(path).c_str()), ";");
}

void packAnrStacktrace(const KavelEvent& event, const std::string& path,
                       int needPackAnrStacktrace) {
    const TraceSection trace("packAnrStacktrace");
    const std::string folder = shellQuote(path);
    std::string command;
    if (needPackAnrStacktrace == 1) {
        command = StringPrintf("find /data/anr/ -name '*kavel_DumpTraces_%d_*' -exec mv {} %s/ \\;",
                               event.pid, folder.c_str());
    } else if (needPackAnrStacktrace == 2) {
        command = StringPrintf("find /data/anr/ -name '*_%d_*' %s-exec cp {} %s/ \\;", event.pid,
                               holdsSpecialFile(kAnrDirectory) ? "-type f " : "", folder.c_str());
    } else {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel trailLogPack]: needPackAnrStacktrace is 0, need not pack ANR "
                   "stacktrace.\n");
        return;
    }
    packPreAnrTrace(path, static_cast<uint64_t>(event.timestamp.realtimeNs));
    collectInto(path, kPrefix, command, ";");
}

void packNativeTombstones(const std::string& path) {
    // The missing bracket in this text is required.
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packNativeTombstones start");
    collectInto(
            path, "[dravo_kavel trailLogPack packNativeTombstones]: ",
            StringPrintf("cp /data/tombstones/$(ls -t /data/tombstones | grep -v .pb | head -1) %s",
                         shellQuote(path).c_str()),
            ";");
}

int anrStacktraceFlag(uint32_t logInfo) {
    if ((logInfo & KAVEL_LOGINFO_ANR_TRACE) != 0) return 1;
    return (logInfo & KAVEL_LOGINFO_ANR_STACKTRACE) != 0 ? 2 : 0;
}

}  // namespace android::kavel
