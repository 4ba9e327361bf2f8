#include "platform/Signals.h"

#include <cerrno>
#include <csignal>

namespace android::kavel {
namespace {

/** A pid that means a group, all processes or init in kill() is invalid in a report. */
bool isOneProcess(pid_t pid) {
    if (pid > 1) return true;
    errno = EPERM;
    return false;
}

}  // namespace

int sendSignal(pid_t pid, int signal) {
    return isOneProcess(pid) ? kill(pid, signal) : -1;
}

int queueSignal(pid_t pid, int signal) {
    return isOneProcess(pid) ? sigqueue(pid, signal, sigval{}) : -1;
}

}  // namespace android::kavel
