#pragma once

#include <cstdint>

#include <android/log.h>
#include <utils/Errors.h>

namespace android::kavel {

/** What came of a request to the framework's "kavel" service. */
struct FrameworkReply {
    bool hasService;  ///< if there is none, the rest is not set
    status_t status;
    int32_t value;  ///< 0 if the reply holds none
};

/**
 * Logs @p reply under the name @p step. A service that is not there or refuses is logged with
 * @p priority. Any thread.
 */
void logFrameworkReply(const char* step, android_LogPriority priority, const FrameworkReply& reply);

}  // namespace android::kavel
