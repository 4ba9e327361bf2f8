#pragma once

#include <chrono>
#include <cstdint>
#include <variant>
#include <vector>

#include <android/log.h>

namespace android::kavel {

/** An argument of a request. Its type determines how it is written to the parcel. */
using FrameworkArgument = std::variant<int32_t, int64_t>;

/**
 * Maximum time that a caller waits for the framework. A catch sends its requests before it starts
 * its first commands. So this is shorter than the time that each pack leaves for those commands: it
 * waits 15 s for them, or begins 30 s after the event.
 */
inline constexpr std::chrono::milliseconds kFrameworkPatience = std::chrono::seconds(10);

/**
 * Sends request @p code of android.os.IKavelManager with @p arguments, and logs the reply when it
 * arrives: a missing service or an error at @p priority. The caller waits for the reply, for at
 * most @p patience. It does not wait if an earlier request with the same code has been without a
 * reply for that long. If the caller continues without the reply, or if the request is not sent
 * because eight requests with its code have no reply, an error line is logged. Any thread.
 *
 * @param step  a string literal
 */
void callFramework(const char* step, android_LogPriority priority, uint32_t code,
                   std::vector<FrameworkArgument> arguments = {},
                   std::chrono::milliseconds patience = kFrameworkPatience);

}  // namespace android::kavel
