#pragma once

#include <cstdint>

#include <android/log.h>
#include <utils/Errors.h>

namespace android::kavel {

/** How one request to the framework's "kavel" service ended. */
struct FrameworkReply {
    enum class Outcome {
        Answered,   ///< status and value are valid
        NoService,  ///< nobody to ask
        Busy,       ///< an earlier request of this code has not come back; nothing was sent
        Late,       ///< sent, but not answered in time
        NoThread,   ///< nobody to send it; nothing was sent
    };
    Outcome outcome;
    status_t status;
    int32_t value;  ///< 0 where the reply holds none
};

/**
 * Logs the end of a request, as @p step. A service that is not there or refuses is logged with
 * @p priority, all else that goes wrong as an error. Any thread.
 */
void logFrameworkReply(const char* step, android_LogPriority priority, const FrameworkReply& reply);

}  // namespace android::kavel
