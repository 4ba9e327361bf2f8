#include "dump/DumpThread.h"

#include <exception>
#include <thread>

#include "platform/Log.h"

namespace android::kavel {

void startDumpThread(CatchRef running, std::function<void()> body) {
    std::thread([running = std::move(running), body = std::move(body)] {
        try {
            body();
        } catch (const std::exception& e) {
            KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel startDumpThread]: catch of event %d ended: %s\n",
                       running->event->kavelEventId, e.what());
            running->fail(Fate::Ended, e.what());
        }
    }).detach();
}

}  // namespace android::kavel
