#pragma once

#include <chrono>
#include <string>

namespace android::kavel {

/**
 * Blocks until the system property @p name has the value @p value, for at most @p timeout of the
 * phone's time. Returns false on timeout. Any thread.
 */
bool waitForProperty(const std::string& name, const std::string& value,
                     std::chrono::milliseconds timeout);

}  // namespace android::kavel
