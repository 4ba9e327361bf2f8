// The one line that says what a folder was caught for.

#include <log/log.h>

#include <android-base/stringprintf.h>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "event/KavelTimestamp.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"

namespace android {

using base::StringPrintf;

void KavelDumpUtilThread::generateKavelHistoryLog(int kavelEventId, std::string path) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel generateKavelHistroyLog]: generateKavelHistroyLog start.\n");
    kavel::DumpContext& context = kavel::dumpContext();
    const kavel::CatchRef running = context.catches.find(kavelEventId);
    if (running == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel generateKavelHistroyLog]: no event %d.\n",
                   kavelEventId);
        return;
    }
    const auto logInfo = static_cast<uint32_t>(running->event->logInfo);
    const std::string name = context.parameters.eventName(running->event->eventId);
    const std::string time = getKavelTimestampStr(kavelEventId);

    // The full-width comma is in the log line only; the tools that read the file split at ",".
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO,
                "[dravo_kavel generateKavelHistoryLogExecuteThread]: echo "
                "EventType:%s,Timestamp:%s,loginfo:%x\uFF0CeventID:%d >> %s/kavel_history.txt",
                name.c_str(), time.c_str(), logInfo, kavelEventId, path.c_str());
    kavel::runShell(StringPrintf(
            "echo EventType:%s,Timestamp:%s,loginfo:%x,eventID:%d >> %s/kavel_history.txt",
            kavel::shellQuoteForEcho(name).c_str(), time.c_str(), logInfo, kavelEventId,
            kavel::shellQuote(path).c_str()));
}

std::string KavelDumpUtilThread::getKavelTimestampStr(int kavelEventId) {
    const kavel::CatchRef running = kavel::dumpContext().catches.find(kavelEventId);
    return running == nullptr ? "" : kavel::kavelTimeStampToString(running->event->timestamp);
}

}  // namespace android
