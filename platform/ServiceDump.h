#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <binder/IBinder.h>

namespace android::kavel {

/** What a service has written on request. */
struct ServiceDump {
    std::string text;
    status_t status = NO_ERROR;  ///< of the call; TIMED_OUT if the service has not come to an end
};

/**
 * Asks @p service for its dump, through a pipe, on a thread of its own. If the service does not
 * come to an end within @p patience, the thread stays until it does. For programs that ask, not for
 * the daemon.
 *
 * @throws std::system_error if there is no pipe or no thread
 */
ServiceDump dumpService(const sp<IBinder>& service, const std::vector<std::string>& args,
                        std::chrono::milliseconds patience);

}  // namespace android::kavel
