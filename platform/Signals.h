#pragma once

#include <sys/types.h>

namespace android::kavel {

// The pid comes from a report. If it means a group or all processes in kill(), or is init's, the
// functions fail with EPERM. Any thread.

/** Sends @p signal to the process @p pid. Returns the result of kill(2). */
int sendSignal(pid_t pid, int signal);
/** Queues @p signal with the value 0 for the process @p pid. Returns the result of sigqueue(3). */
int queueSignal(pid_t pid, int signal);

}  // namespace android::kavel
