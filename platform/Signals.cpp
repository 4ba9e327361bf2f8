#include "platform/Signals.h"

#include <cerrno>
#include <csignal>

namespace android::kavel {
namespace {

/** What kill() would take for a group, for everybody or for init is no process of a report. */
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
