#pragma once

#include <sys/types.h>

namespace android::kavel {

// A pid comes from a report: one that kill() would take for a group or for everybody, and init's,
// is refused with EPERM. Any thread.

/** Sends @p signal to the process @p pid, with the result of kill(2). */
int sendSignal(pid_t pid, int signal);
/** Queues @p signal for the process @p pid with the value 0, with the result of sigqueue(3). */
int queueSignal(pid_t pid, int signal);

}  // namespace android::kavel
