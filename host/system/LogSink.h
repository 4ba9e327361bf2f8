#pragma once

#include <string>

namespace android::kavel::host {

/** Returns the folder of the log files: KAVEL_HOST_LOG_DIR, or /dev/log if that is not set. */
std::string logDirectory();

}  // namespace android::kavel::host
