#include "platform/Signals.h"

#include <cerrno>
#include <csignal>

namespace android::kavel {

int queueSignal(int pid, int signal) {
    if (pid <= 1) {
        errno = EINVAL;
        return -1;
    }
    sigval value = {};
    value.sival_int = 0;
    return sigqueue(pid, signal, value);
}

}  // namespace android::kavel
