#pragma once

#include <cstdint>

namespace android::kavel {

/**
 * Tells the framework that the recovery of process @p pid has begun, and waits for its reply. One
 * error line where the framework is not there or fails.
 */
void notifyFrameworkOfAnr(int32_t pid, int64_t eventId);

}  // namespace android::kavel
