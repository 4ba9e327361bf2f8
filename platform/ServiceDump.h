#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <binder/IBinder.h>

namespace android::kavel {

/** Result of dumpService(). */
struct ServiceDump {
    std::string text;            ///< as far as it has arrived
    status_t status = NO_ERROR;  ///< of the call; TIMED_OUT if the service has not finished
};

/**
 * Requests the dump of @p service, on a separate thread, and reads it from a pipe. If the service
 * does not finish within @p patience, the thread stays until it does. Used by tools; the daemon
 * does not call it.
 *
 * @throws std::system_error if a pipe or a thread cannot be created
 */
ServiceDump dumpService(const sp<IBinder>& service, const std::vector<std::string>& args,
                        std::chrono::milliseconds patience);

}  // namespace android::kavel
