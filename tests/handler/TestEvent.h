#pragma once

#include <ctime>
#include <memory>
#include <string>

#include "event/KavelEvent.h"

namespace android::kavel::fake {

/** 7 March 2024, 09:05:02.007 UTC, in nanoseconds. */
inline constexpr int64_t kStart = 1'709'802'302'007'000'000;

/** A record as the builder makes it, stamped @p seconds after the start. */
inline std::shared_ptr<KavelEvent> event(long eventId, int64_t seconds = 0,
                                         const std::string& process = "", int logInfo = 0) {
    const KavelExtraInfo extraInfo = {process, "", ""};
    KavelTimestamp timestamp = {};
    timestamp.realtimeNs = kStart + seconds * 1'000'000'000;
    const time_t time = timestamp.realtimeNs / 1'000'000'000;
    localtime_r(&time, &timestamp);
    timestamp.millisecond = 7;
    return std::make_shared<KavelEvent>(eventId, &timestamp, logInfo, 1, 2, &extraInfo);
}

}  // namespace android::kavel::fake
