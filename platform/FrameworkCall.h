#pragma once

#include <chrono>
#include <cstdint>
#include <variant>
#include <vector>

#include "platform/FrameworkReply.h"

namespace android::kavel {

/** An argument of a request; its type is how it is written. */
using FrameworkArgument = std::variant<int32_t, int64_t>;

/**
 * Time that a caller gives the framework. A catch's first commands wait behind its requests, so it
 * is shorter than any pack's wait for those commands: 15 s, or 30 s before it begins.
 */
inline constexpr std::chrono::milliseconds kFrameworkPatience = std::chrono::seconds(10);

/**
 * Sends request @p code of android.os.IKavelManager with @p arguments, and logs the reply when it
 * comes (logFrameworkReply()). The caller waits for that: for @p patience at most, and not at all
 * while an earlier request of the same code has been without a reply for that long. A caller that
 * goes on without the reply logs one error line, and so does a request that is not sent because
 * eight of its code are without a reply. Any thread.
 *
 * @param step  a literal
 */
void callFramework(const char* step, android_LogPriority priority, uint32_t code,
                   std::vector<FrameworkArgument> arguments = {},
                   std::chrono::milliseconds patience = kFrameworkPatience);

}  // namespace android::kavel
