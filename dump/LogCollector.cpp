// The first and second round of collection: from log-selection bits to running commands.

#include <log/log.h>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "event/KavelTimestamp.h"
#include "platform/Clock.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/TraceSection.h"

namespace android {

using kavel::CatchRef;
using kavel::CommandPool;
using kavel::DumpContext;
using kavel::LogCommand;

namespace {

bool selectsHeavyDump(uint32_t logInfo) {
    for (const LogCommand& command : kavel::kLogCommands) {
        if (command.heavy && (logInfo & command.testBit) != 0) return true;
    }
    return false;
}

/** Queues the command. The task holds the catch, so the catch outlives its last command. */
void submit(DumpContext& context, const LogCommand& command, const std::string& path,
            const CatchRef& running) {
    std::KavelThreadPool& pool =
            command.pool == CommandPool::Logcat ? context.logcatPool : context.cmdPool;
    pool.commit(
            [running](const std::string& cmd, int logBit) {
                KavelDumpUtilThread::collectLogWithCmdExecuteThread(cmd, logBit,
                                                                    running->event->kavelEventId);
            },
            kavel::commandText(command, path), static_cast<int>(command.tagBit));
}

}  // namespace

void KavelDumpUtilThread::collectLog(int logInfo, std::string path, int kavelEventId) {
    const kavel::TraceSection trace("collectLog");
    DumpContext& context = kavel::dumpContext();
    const CatchRef running = context.catches.find(kavelEventId);
    if (running == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel collectLog]: no event %d to collect for.\n",
                   kavelEventId);
        return;
    }
    const KavelEvent& event = *running->event;
    const auto bits = static_cast<uint32_t>(logInfo);

    if ((bits & KAVEL_LOGINFO_ANR_TRACE) != 0) callFrameworkDumpANRTrace(kavelEventId);
    if ((bits & KAVEL_LOGINFO_SYSTEM_SERVER_TRACES) != 0) {
        context.captures.start(KAVEL_LOGINFO_SYSTEM_SERVER_TRACES, event.timestamp);
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel collectLog]: KAVEL_LOGINFO_SYSTEM_SERVER_TRACES.\n");
        dumpSystemServerTraces(kavelEventId, path);
    }

    const bool heavyDumps = selectsHeavyDump(bits) &&
                            context.heavyDumps.tryTake(static_cast<uint64_t>(kavel::monotonicNs()));
    for (const LogCommand& command : kavel::kLogCommands) {
        if ((bits & command.testBit) == 0 || (command.heavy && !heavyDumps)) continue;
        submit(context, command, path, running);
    }

    const kavel::TraceEvent* framework = kavel::findFrameworkTraceEvent(event.eventId);
    if ((bits & KAVEL_LOGINFO_FRAMEWORK_SYSTRACE) != 0 && framework != nullptr) {
        context.captures.start(KAVEL_LOGINFO_FRAMEWORK_SYSTRACE, event.timestamp);
        callFrameworkDumpSystrace();
        KAVEL_LOGI(KAVEL_NO_TAG, "[tagL]: callFrameworkDumpSystrace:%ld",
                   static_cast<long>(framework->traceCode));
    }
    if ((bits & KAVEL_LOGINFO_NATIVE_SYSTRACE) != 0 &&
        kavel::findNativeTraceEvent(event.eventId) != nullptr) {
        callNativeDumpSystrace(kavelEventId);
    }
}

void KavelDumpUtilThread::collectLogWithCmdExecuteThread(std::string cmd, int logBit,
                                                         int kavelEventId) {
    const kavel::TraceSection trace("collectLogWithCmdExecuteThread");
    const std::string command =
            cmd + kavel::kavelTimeStampToString(kavel::generateKavelTimestamp()) + ".txt";
    const int status = kavel::runShell(command);
    // "Execete" is what the readers of the log search for.
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO,
                "[dravo_kavel collectLogWithCmdExeceteThread]: %s, ret is: %d\n", command.c_str(),
                status);
    // A failed command counts too: there will be no more of this log than there is now.
    if (const CatchRef running = kavel::dumpContext().catches.find(kavelEventId)) {
        running->event->collected |= static_cast<uint32_t>(logBit);
    }
}

}  // namespace android
