#pragma once

#include <cstdint>
#include <string>

namespace android::kavel::tools {

struct EventReport {
    int64_t eventId;
    int32_t logInfo;
    int32_t pid;
    int32_t uid;
    std::string extraText;  ///< UTF-8
};

struct EventSettings {
    int64_t eventId;
    std::string name;  ///< UTF-8
    bool enabled;
    int64_t frequency;
    int64_t windowMs;
    int64_t recoverId;  ///< 0 for none
};

// Both calls are one-way: they return when the call is queued for the daemon. They throw
// CommandError if the daemon is not running or the call could not be queued.

void sendReport(const EventReport& report);
void sendSettings(const EventSettings& settings);

}  // namespace android::kavel::tools
