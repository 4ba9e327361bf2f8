#include "dump/LogCollector.h"

#include <log/log.h>

#include "dump/DumpContext.h"
#include "dump/LogCommands.h"
#include "dump/TraceCapture.h"
#include "event/KavelTimestamp.h"
#include "platform/Clock.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

constexpr const char* kPrefix = "[dravo_kavel collectLog]: ";

bool selectsHeavyDump(uint32_t logInfo) {
    for (const LogCommand& command : kLogCommands) {
        if (command.heavy && (logInfo & command.testBit) != 0) return true;
    }
    return false;
}

void logNotStarted(const LogCommand& command, const Catch& running) {
    KAVEL_LOGW(KAVEL_NO_TAG, "%s%s is packed already, not started: %s\n", kPrefix,
               eventText(*running.event).c_str(), command.head);
}

/** Queues the command. The task holds the catch, so the catch outlives its last command. */
void submit(const LogCommand& command, const CatchRef& running) {
    DumpContext& context = running->context;
    const LogFolderRef folder = running->folder();
    const LogFolder::Work work = folder->beginWork(command.stem + 1);
    if (work == nullptr) return logNotStarted(command, *running);
    std::KavelThreadPool& pool =
            command.pool == CommandPool::Logcat ? context.logcatPool : context.cmdPool;
    pool.commit([running, folder, work, &command] {
        if (folder->isClosed()) return logNotStarted(command, *running);
        collectLogWithCmdExecuteThread(commandText(command, folder->path()), command.tagBit,
                                       running);
    });
}

}  // namespace

void collectLog(uint32_t logInfo, const CatchRef& running) {
    const TraceSection trace("collectLog");
    DumpContext& context = running->context;
    const KavelEvent& event = *running->event;

    if ((logInfo & KAVEL_LOGINFO_ANR_TRACE) != 0) callFrameworkDumpANRTrace(event);
    if ((logInfo & KAVEL_LOGINFO_SYSTEM_SERVER_TRACES) != 0) {
        context.captures.start(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES, event.timestamp);
        KAVEL_LOGI(KAVEL_NO_TAG, "%sKAVEL_LOGINFO_SYSTEM_SERVER_TRACES.\n", kPrefix);
        dumpSystemServerTraces(event);
    }

    const bool heavyDumps = selectsHeavyDump(logInfo) &&
                            context.heavyDumps.tryTake(static_cast<uint64_t>(monotonicNs()));
    for (const LogCommand& command : kLogCommands) {
        if ((logInfo & command.testBit) == 0 || (command.heavy && !heavyDumps)) continue;
        submit(command, running);
    }

    const SystemTrace& systemTrace = event.type.trace;
    if ((logInfo & KAVEL_LOGINFO_FRAMEWORK_SYSTRACE) != 0 &&
        systemTrace.source == SystemTrace::Source::Framework) {
        context.captures.start(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE, event.timestamp);
        callFrameworkDumpSystrace();
        // Tools that read the log depend on "[tagL]", which names no step.
        KAVEL_LOGI(KAVEL_NO_TAG, "[tagL]: callFrameworkDumpSystrace:%ld",
                   static_cast<long>(systemTrace.code));
    }
    if ((logInfo & KAVEL_LOGINFO_NATIVE_SYSTRACE) != 0 &&
        systemTrace.source == SystemTrace::Source::Native) {
        callNativeDumpSystrace(running);
    }
}

void collectLogWithCmdExecuteThread(const std::string& cmd, uint32_t logBit,
                                    const CatchRef& running) {
    const TraceSection trace("collectLogWithCmdExecuteThread");
    const std::string command = cmd + kavelTimeStampToString(generateKavelTimestamp()) + ".txt";
    const int status = runShell(command, kCommandDeadline, kCollectedFileLimit);
    // Tools that read the log depend on the spelling "Execete".
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO,
                "[dravo_kavel collectLogWithCmdExeceteThread]: %s, ret is: %d\n", command.c_str(),
                status);
    if (wasCutShort(status)) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_WARN,
                    "[dravo_kavel collectLogWithCmdExecuteThread]: %s lacks a log, status is: %d: "
                    "%s\n",
                    eventText(*running->event).c_str(), status, command.c_str());
        ReportJournal::instance().addDetail(
                running->folder()->path(),
                "lacks a log, status " + std::to_string(status) + " of: " + cmd);
    }
    running->event->collected |= logBit;
}

}  // namespace android::kavel
