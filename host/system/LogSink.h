#pragma once

#include <string>

namespace android::kavel::host {

/** Folder of the log buffers' files: /dev/log, or the value of KAVEL_HOST_LOG_DIR. */
std::string logDirectory();

}  // namespace android::kavel::host
