#pragma once

#include <cstdint>

#include <android/log.h>
#include <utils/Errors.h>

namespace android::kavel {

/** Result of a request to the framework's "kavel" service. */
struct FrameworkReply {
    bool hasService;  ///< if false, the other members are not set
    status_t status;
    int32_t value;  ///< 0 if the reply contains no value
};

/**
 * Logs @p reply with the name @p step. Uses @p priority if the service does not exist or returns an
 * error. Any thread.
 */
void logFrameworkReply(const char* step, android_LogPriority priority, const FrameworkReply& reply);

}  // namespace android::kavel
