#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <utils/Errors.h>

namespace android::kavel {

/** How one request to the framework's "kavel" service ended. */
struct FrameworkReply {
    enum class Outcome {
        Answered,   ///< status and value are valid
        NoService,  ///< nobody to ask
        Busy,       ///< an earlier request of this code has not come back; nothing was sent
        Late,       ///< sent, but not answered in time
    };
    Outcome outcome;
    status_t status;
    int32_t value;  ///< 0 where the reply holds none
};

/**
 * Time that a caller gives the framework. A catch's first commands wait behind its requests, so it
 * is shorter than any pack's wait for those commands: 15 s, or 30 s before it begins.
 */
inline constexpr std::chrono::milliseconds kFrameworkPatience = std::chrono::seconds(10);

/**
 * Sends request @p code of android.os.IKavelManager with @p argument, where there is one, and waits
 * for the answer, at most for @p patience. A framework that hangs costs one thread for each code:
 * that thread stays with the call, and later requests of the code wait for it within their own
 * time. Any thread.
 *
 * @throws std::system_error where no thread can be had
 */
FrameworkReply callFramework(uint32_t code, std::optional<int32_t> argument = std::nullopt,
                             std::chrono::milliseconds patience = kFrameworkPatience);

}  // namespace android::kavel
