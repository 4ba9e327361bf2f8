#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/Mutex.h"

namespace android::kavel {

/**
 * What the framework has set for each event type. Nothing is built in: an event type that was
 * never configured is disabled and nameless. One leaf lock; any thread.
 *
 * A look-up by isEnabled(), eventName() or recoverId() leaves an entry behind for an unknown id,
 * which later readers (the statistic upload above all) can tell from no entry.
 */
class EventParameters {
  public:
    /** @param reportFreq  kept, but nothing is limited by it */
    void updateEventParams(int64_t eventId, bool isEnable, int64_t reportFreq);
    /** @param timeWindow milliseconds */
    void setTimeWindow(int64_t eventId, int64_t timeWindow);
    /** A recover id of 0 changes nothing: an earlier one stays. */
    void setRecoverId(int64_t eventId, int64_t recoverId);
    /** Stores the name of an event type without a recover id; one with a recover id gets none. */
    void setEventIdMap(int64_t recoverId, int64_t eventId, const std::string& eventName);

    /** Whether reports of the event type are handled. */
    bool isEnabled(int64_t eventId);
    /** The event type's window in seconds; the default where none was ever set. */
    int64_t getTimeWindow(int64_t eventId) const;
    /** The event type's name; empty where it has none. */
    std::string eventName(int64_t eventId);
    /** The name where there is an entry, an empty one included; leaves nothing behind. */
    std::optional<std::string> findEventName(int64_t eventId) const;
    /** Whether there is an entry, one of 0 included; leaves nothing behind. */
    bool hasRecoverId(int64_t eventId) const;
    /** Which recovery action the event type gets; 0 where none was ever set. */
    int64_t recoverId(int64_t eventId);

  private:
    struct EventParam {
        bool isEnable = false;
        int64_t reportFreq = 0;
    };

    mutable Mutex mLock;
    std::map<int64_t, EventParam> mEventParamMap GUARDED_BY(mLock);
    std::map<int64_t, int64_t> mKavelEventTimeWindow GUARDED_BY(mLock);
    std::map<int64_t, int64_t> mRecoverIdMap GUARDED_BY(mLock);
    std::map<int64_t, std::string> mEventIdMap GUARDED_BY(mLock);
    // In seconds, unlike the windows that the framework sets.
    static constexpr int32_t mDefaultTimeWindow = 180;
};

}  // namespace android::kavel
