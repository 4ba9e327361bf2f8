#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "event/EventTypes.h"

namespace android {

/** Local time of arrival: the C library's broken-down time, and more precise values. */
struct KavelTimestamp : std::tm {
    int32_t millisecond;  ///< within the second, 0 to 999
    int64_t realtimeNs;   ///< wall-clock nanoseconds since the epoch, from a separate reading
};

/** Parts of the reporter's extra text; a string is empty if the text does not contain it. */
struct KavelExtraInfo {
    std::string processName;  ///< the whole text for event types whose text is not split
    std::string packageVersion;
    std::string eventType;
};

/**
 * One report of an abnormal situation. Shared: the event list, look-ups and running dumps keep a
 * record alive. After a record is added to the list, only two members change: `next`, under the
 * list's lock, and `collected`.
 */
class KavelEvent {
  public:
    KavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid, int uid,
               const KavelExtraInfo* extraInfo);

    int32_t kavelEventId = 0;  ///< random, unique among the existing records; set by the event list
    const int64_t eventId;     ///< event type id
    const kavel::EventType& type;  ///< what is special about the event type
    const KavelTimestamp timestamp;
    const int32_t logInfo;  ///< log-selection bits
    const int32_t pid;      ///< process that the report is about
    const int32_t uid;
    const KavelExtraInfo extraInfo;
    /** Log-selection bits whose commands have ended. */
    mutable std::atomic<uint32_t> collected{0};
    std::shared_ptr<KavelEvent> next;  ///< link of the circular event list
};

namespace kavel {

/** Maximum number of records in the event list. */
inline constexpr size_t kEventListSize = 31;

/** A complete record. Only what it has collected still changes. */
using EventRef = std::shared_ptr<const KavelEvent>;

/** "event 0xTYPE (record ID)", for the daemon's own log lines. */
std::string eventText(const KavelEvent& event);

}  // namespace kavel
}  // namespace android
