#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"

namespace android::kavel {

/** Settings of one event type. */
struct EventTypeStatus {
    int64_t eventId = 0;
    std::string name;
    bool isEnabled = false;
    int64_t windowMs = 0;
    int64_t frequency = 0;
    int64_t recoverId = 0;  ///< 0 if it has none
};

/**
 * Settings that the framework has sent for each event type. There are no defaults: an event type
 * that was never configured is disabled and has no name. One leaf lock; any thread.
 *
 * A look-up by isEnabled(), eventName() or recoverId() adds an entry for an unknown id. Later
 * readers, such as the statistic upload, distinguish that entry from no entry.
 */
class EventParameters {
  public:
    /** @param reportFreq  stored, but does not limit anything */
    void updateEventParams(int64_t eventId, bool isEnable, int64_t reportFreq);
    /** @param timeWindow milliseconds */
    void setTimeWindow(int64_t eventId, int64_t timeWindow);
    /** A recover id of 0 is ignored: an earlier one stays. */
    void setRecoverId(int64_t eventId, int64_t recoverId);
    /** Stores the name of an event type, unless the event type has a recover id. */
    void setEventIdMap(int64_t recoverId, int64_t eventId, const std::string& eventName);

    /** Whether reports of the event type are handled. */
    bool isEnabled(int64_t eventId);
    /** The event type's window in seconds; the default if none was set. */
    int64_t getTimeWindow(int64_t eventId) const;
    /** The event type's name; empty if it has none. */
    std::string eventName(int64_t eventId);
    /**
     * Returns the name if there is an entry, even an empty one; otherwise nullopt. Adds no entry.
     */
    std::optional<std::string> findEventName(int64_t eventId) const;
    /** Whether there is an entry, even one of 0. Adds no entry. */
    bool hasRecoverId(int64_t eventId) const;
    /** The recovery action of the event type; 0 if none was set. */
    int64_t recoverId(int64_t eventId);

    /** Returns the settings of each event type that was configured. Adds no entry. */
    std::vector<EventTypeStatus> status() const;

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
    // In seconds, although the framework sets windows in milliseconds.
    static constexpr int32_t mDefaultTimeWindow = 180;
};

}  // namespace android::kavel
