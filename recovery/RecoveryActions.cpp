#include "recovery/RecoveryActions.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/Log.h"
#include "platform/ProcFs.h"
#include "platform/Signals.h"
#include "platform/SysrqTrigger.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

constexpr size_t kCmdlineSize = 4096;

/**
 * Returns the command of a process from the first argument of its cmdline: the text up to the first
 * space. Empty for kernel threads and zombies.
 */
std::string_view commandOf(std::string_view firstArgument) {
    return firstArgument.substr(0, firstArgument.find(' '));
}

}  // namespace

int doKavelWmRebootAction() {
    const TraceSection trace("doKavelWmRebootAction");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: start wmreboot recover");
    const int pid = getPidForCommand("system_server");
    // The line is logged before and after the search. Log readers expect both.
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: start wmreboot recover");
    if (pid < 1) return -1;
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: Sending signal. PID: %d SIG: %d",
               pid, SIGKILL);
    if (sendSignal(pid, SIGKILL) != 0) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: no signal to %d: %s\n", pid,
                   strerror(errno));
    }
    return 0;
}

int doKavelRebootAction() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelRebootAction]: trigger kernel panic");
    if (triggerKernelPanic()) return 0;
    const int noDescriptor = -1;
    KAVEL_LOGE(KAVEL_NO_TAG, "open sysrq-trigger failed!! fd: %d", noDescriptor);
    return -1;
}

int getPidForCommand(const std::string& command) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getPidForCommand]: command %s", command.c_str());
    int found = -2;
    const bool isOpen = forEachProcess([&](int pid) {
        char cmdline[kCmdlineSize];
        if (readProcFile(pid, "cmdline", cmdline, sizeof(cmdline)) != ProcRead::Done) return true;
        if (commandOf(cmdline) != command) return true;  // cmdline has a NUL after each argument
        found = pid;
        return false;
    });
    if (!isOpen) {
        const char* const error = strerror(errno);
        static_cast<void>(fprintf(stderr, "/proc: %s\n", error));
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getPidForCommand]: open /proc failed %s", error);
        return -1;
    }
    if (found >= 1) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getPidForCommand]: found, command %s pid %d",
                   command.c_str(), found);
    }
    return found;
}

}  // namespace android::kavel
