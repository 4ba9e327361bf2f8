#include "handler/ImmediateDump.h"

#include "dump/DumpThreads.h"
#include "dump/KavelDumpUtilThread.h"

namespace android::kavel {

void startImmediateDump(const CatchRef& running, const std::string& folder) {
    const KavelEvent& event = *running->event;
    startDumpThread(running, [logInfo = event.logInfo, id = event.kavelEventId, folder] {
        KavelDumpUtilThread::immediateDumpThread(logInfo, id, folder);
    });
}

}  // namespace android::kavel
