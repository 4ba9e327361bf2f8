#pragma once

#include <sys/types.h>

namespace android::kavel {

/**
 * Sends @p signal to the process @p pid, with the result of kill(2). A pid that kill() would take
 * for a group or for everybody, and init's, is refused with EPERM. Any thread.
 */
int sendSignal(pid_t pid, int signal);

}  // namespace android::kavel
