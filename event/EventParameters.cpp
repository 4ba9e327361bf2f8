#include "event/EventParameters.h"

#include <type_traits>

#include "platform/Log.h"

namespace android::kavel {

void EventParameters::updateEventParams(int64_t eventId, bool isEnable, int64_t reportFreq) {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "updateEventParams called! isEnable: %d, reportFreq: %ld",
               isEnable, static_cast<long>(reportFreq));
    MutexLock lock(mLock);
    mEventParamMap[eventId] = {isEnable, reportFreq};
}

void EventParameters::setTimeWindow(int64_t eventId, int64_t timeWindow) {
    MutexLock lock(mLock);
    mKavelEventTimeWindow[eventId] = timeWindow;
}

void EventParameters::setRecoverId(int64_t eventId, int64_t recoverId) {
    if (recoverId == 0) return;
    MutexLock lock(mLock);
    mRecoverIdMap[eventId] = recoverId;
}

void EventParameters::setEventIdMap(int64_t recoverId, int64_t eventId,
                                    const std::string& eventName) {
    if (recoverId != 0) return;
    MutexLock lock(mLock);
    mEventIdMap[eventId] = eventName;
}

bool EventParameters::isEnabled(int64_t eventId) {
    MutexLock lock(mLock);
    return mEventParamMap[eventId].isEnable;
}

int64_t EventParameters::getTimeWindow(int64_t eventId) const {
    std::optional<int64_t> milliseconds;
    {
        MutexLock lock(mLock);
        const auto entry = mKavelEventTimeWindow.find(eventId);
        if (entry != mKavelEventTimeWindow.end()) milliseconds = entry->second;
    }
    if (!milliseconds) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel getTimeWindow]: getTimeWindow mDefaultTimeWindow.\n");
        return mDefaultTimeWindow;
    }
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel getTimeWindow]: getTimeWindow from mKavelEventTimeWindow.\n");
    return *milliseconds / 1000;
}

std::string EventParameters::eventName(int64_t eventId) {
    MutexLock lock(mLock);
    return mEventIdMap[eventId];
}

std::optional<std::string> EventParameters::findEventName(int64_t eventId) const {
    MutexLock lock(mLock);
    const auto entry = mEventIdMap.find(eventId);
    if (entry == mEventIdMap.end()) return std::nullopt;
    return entry->second;
}

bool EventParameters::hasRecoverId(int64_t eventId) const {
    MutexLock lock(mLock);
    return mRecoverIdMap.count(eventId) != 0;
}

int64_t EventParameters::recoverId(int64_t eventId) {
    MutexLock lock(mLock);
    return mRecoverIdMap[eventId];
}

std::vector<EventTypeStatus> EventParameters::status() const {
    const auto valueOf = [](const auto& map, int64_t eventId) {
        const auto entry = map.find(eventId);
        return entry == map.end() ? typename std::decay_t<decltype(map)>::mapped_type()
                                  : entry->second;
    };
    std::vector<EventTypeStatus> types;
    MutexLock lock(mLock);
    // Look-ups add entries to the other maps.
    for (const auto& [eventId, window] : mKavelEventTimeWindow) {
        const EventParam param = valueOf(mEventParamMap, eventId);
        types.push_back({eventId, valueOf(mEventIdMap, eventId), param.isEnable, window,
                         param.reportFreq, valueOf(mRecoverIdMap, eventId)});
    }
    return types;
}

}  // namespace android::kavel
