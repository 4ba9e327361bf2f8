#include "dump/History.h"

#include <log/log.h>

#include <android-base/stringprintf.h>

#include "dump/DumpContext.h"
#include "event/KavelTimestamp.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

std::string getKavelTimestampStr(const Catch& running) {
    return kavelTimeStampToString(running.event->timestamp);
}

}  // namespace

void generateKavelHistoryLog(const CatchRef& running) {
    // Tools that read the log depend on the spelling "Histroy".
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel generateKavelHistroyLog]: generateKavelHistroyLog start.\n");
    const KavelEvent& event = *running->event;
    const std::string path = running->folder()->path();
    const auto logInfo = static_cast<uint32_t>(event.logInfo);
    const std::string name = running->context.parameters.eventName(event.eventId);
    const std::string time = getKavelTimestampStr(*running);

    // Only the log line has the full-width comma: the tools that read the file split it at ",".
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO,
                "[dravo_kavel generateKavelHistoryLogExecuteThread]: echo "
                "EventType:%s,Timestamp:%s,loginfo:%x\uFF0CeventID:%d >> %s/kavel_history.txt",
                name.c_str(), time.c_str(), logInfo, event.kavelEventId, path.c_str());
    const int status = runShell(StringPrintf(
            "echo EventType:%s,Timestamp:%s,loginfo:%x,eventID:%d >> %s/kavel_history.txt",
            shellQuoteForEcho(name).c_str(), time.c_str(), logInfo, event.kavelEventId,
            shellQuote(path).c_str()));
    if (status == 0) return;
    // The spelling "Histroy" again, so that one search finds both lines.
    kavel_print(
            LOG_ID_MAIN, ANDROID_LOG_ERROR,
            "[dravo_kavel generateKavelHistroyLog]: %s has no history line, status is: %d: %s\n",
            eventText(event).c_str(), status, path.c_str());
}

}  // namespace android::kavel
