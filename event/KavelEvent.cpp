#include "event/KavelEvent.h"

#include <cinttypes>

#include <android-base/stringprintf.h>

namespace android {

KavelEvent::KavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid, int uid,
                       const KavelExtraInfo* extraInfo)
      : eventId(eventId),
        type(kavel::eventTypeOf(eventId)),
        timestamp(*timestamp),
        logInfo(logInfo),
        pid(pid),
        uid(uid),
        extraInfo(*extraInfo) {}

namespace kavel {

std::string eventText(const KavelEvent& event) {
    return base::StringPrintf("event 0x%" PRIx64 " (record %d)",
                              static_cast<uint64_t>(event.eventId), event.kavelEventId);
}

}  // namespace kavel
}  // namespace android
