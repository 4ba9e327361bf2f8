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
 * Sends request @p code of android.os.IKavelManager with @p arguments and waits for the
 * answer, at most for @p patience. A framework that hangs costs one thread for each code:
 * that thread stays with the call, and later requests of the code wait for it within their own
 * time. Any thread.
 */
FrameworkReply callFramework(uint32_t code, std::vector<FrameworkArgument> arguments = {},
                             std::chrono::milliseconds patience = kFrameworkPatience);

}  // namespace android::kavel
