#pragma once

#include <atomic>

#include "platform/FrameworkCall.h"

namespace android::kavel::fake {

// Each request of the trace captures becomes a log line that begins with "fake: ", so that it has
// its place in a transcript.
inline std::atomic<bool> hasTraceUtility{true};
inline std::atomic<bool> signalsWork{true};

}  // namespace android::kavel::fake
