#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

namespace android {

/** Local time of arrival: the C library's broken-down time, and what it is too coarse for. */
struct KavelTimestamp : std::tm {
    int32_t millisecond;  ///< within the second, 0 to 999
    int64_t realtimeNs;   ///< wall-clock nanoseconds since the epoch, read separately
};

/** What the reporter said in its extra text; each string is empty where it said nothing. */
struct KavelExtraInfo {
    std::string processName;  ///< or the whole text, for event types whose text is not split
    std::string packageVersion;
    std::string eventType;
};

/**
 * One report of an abnormal situation. Shared: the event list, look-ups and a running dump each
 * keep a record alive. After it has been placed in the list two members change: `next`, under the
 * list's lock, and `collected`.
 */
class KavelEvent {
  public:
    KavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid, int uid,
               const KavelExtraInfo* extraInfo);

    int32_t kavelEventId = 0;  ///< random, unique among the live records; set by the event list
    const int64_t eventId;     ///< event type id
    const KavelTimestamp timestamp;
    const int32_t logInfo;  ///< log-selection bits
    const int32_t pid;      ///< process concerned
    const int32_t uid;
    const KavelExtraInfo extraInfo;
    /** Log-selection bits whose commands have ended: known for as long as the record is. */
    mutable std::atomic<uint32_t> collected{0};
    std::shared_ptr<KavelEvent> next;  ///< link of the circular event list
};

namespace kavel {

/** A record that is complete: all that still changes is what it has collected. */
using EventRef = std::shared_ptr<const KavelEvent>;

/** Whether @p eventId is an abnormal action of the user (0xF01 to 0xF05), such as a forced reboot.
 */
bool isAbnormalAction(int64_t eventId);

/** "event 0xTYPE (record ID)", for log lines of our own. */
std::string eventText(const KavelEvent& event);

/** The SurfaceFlinger hang warning, which gets the nwatchcall log and nothing else. */
inline constexpr int64_t KAVEL_EVENT_SF_HANG_WARNING = 0x401;

/** Event types from here on may have a recovery action. */
inline constexpr int64_t kFirstRecoverableEvent = 0x10000001;

}  // namespace kavel
}  // namespace android
