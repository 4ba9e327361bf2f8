#include "event/KavelEvent.h"

namespace android {

KavelEvent::KavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid, int uid,
                       const KavelExtraInfo* extraInfo)
      : eventId(eventId),
        timestamp(*timestamp),
        logInfo(logInfo),
        pid(pid),
        uid(uid),
        extraInfo(*extraInfo) {}

namespace kavel {

bool isAbnormalAction(int64_t eventId) {
    return eventId >= 0xF01 && eventId <= 0xF05;
}

}  // namespace kavel
}  // namespace android
