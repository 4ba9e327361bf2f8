#pragma once

namespace android::kavel {

/**
 * Queues @p signal for the one process @p pid, with the value 0. 0, or -1 with errno. Init and
 * process groups (@p pid of 1 and below) are refused with EINVAL: the pid comes from a report.
 */
int queueSignal(int pid, int signal);

}  // namespace android::kavel
