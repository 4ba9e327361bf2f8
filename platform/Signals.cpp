#include "platform/Signals.h"

#include <cerrno>
#include <csignal>

namespace android::kavel {

int sendSignal(pid_t pid, int signal) {
    if (pid <= 1) {
        errno = EPERM;
        return -1;
    }
    return kill(pid, signal);
}

}  // namespace android::kavel
