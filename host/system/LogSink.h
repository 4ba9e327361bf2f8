#pragma once

#include <array>
#include <string>

namespace android::kavel::host {

/** The buffers that have a file, in the order of their numbers (log_id_t). */
constexpr std::array<const char*, 5> kLogBuffers = {"main", "radio", "events", "system", "crash"};

/** Where the buffers' files are: /dev/log, or what KAVEL_HOST_LOG_DIR says. */
std::string logDirectory();

}  // namespace android::kavel::host
