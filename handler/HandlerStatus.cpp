#include "handler/KavelEventHandler.h"

namespace android {

kavel::HandlerStatus KavelEventHandler::status() const {
    kavel::HandlerStatus status;
    status.eventTypes = mParameters.status();
    status.events = mEvents.records();
    status.catches = mDump.catches.status(kavel::kMaxStatusCatches, &status.catchCount);
    status.isWindowOpen = mDump.combinedDumpRunning;
    for (const auto* pool : {&mDump.cmdPool, &mDump.logcatPool, &mDump.historyPool}) {
        status.pools.push_back(pool->status());
    }
    return status;
}

}  // namespace android
