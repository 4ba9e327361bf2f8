#include "handler/RecoveryActions.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "platform/FrameworkCall.h"
#include "platform/Log.h"
#include "platform/ProcFs.h"
#include "platform/ProcText.h"
#include "platform/Signals.h"
#include "platform/SysrqTrigger.h"
#include "platform/TraceSection.h"
#include "recovery/KavelAnrRecoveryMonitor.h"

namespace android::kavel {
namespace {

enum RecoverId : int64_t { kAnr = 1, kFrameworkRestart = 2, kKernelPanic = 3 };

/** Only while this application is being recovered does a failed recovery restart the phone. */
constexpr const char* kTestPackage = "com.test.kavelanrrecovery";

constexpr uint32_t kAnrRecoveryBegun = 8;  // of android.os.IKavelManager

constexpr size_t kCmdlineSize = 4096;

}  // namespace

void RecoveryActions::doKavelRecoverAction(int pid, long eventId, const std::string& processName,
                                           const std::string& eventType) {
    const TraceSection trace("doKavelRecoverAction");
    const long recoverId = mParameters.recoverId(eventId);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelRecoverAction]: pid:%d eventId:%ld recoverId:%ld",
               pid, eventId, recoverId);
    long ret = 0;
    switch (recoverId) {
        case kAnr:
            doKavelAnrRecoverAction(pid, eventId, processName, eventType);
            KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: mIsKavelAnrTesting:%d",
                       isAnrTesting());
            return;
        case kFrameworkRestart:
            ret = doKavelWmRebootAction();
            break;
        case kKernelPanic:
            ret = doKavelRebootAction();
            break;
        default:
            KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel doKavelRecoverAction]: unknown recoverId:%ld",
                       recoverId);
            return;
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelRecoverAction]: recoverId:%ld ret:%ld", recoverId,
               ret);
}

void RecoveryActions::doKavelAnrRecoverAction(int pid, long eventId, const std::string& processName,
                                              const std::string& eventType) {
    const TraceSection trace("doKavelAnrRecoverAction");
    KavelAnrRecoveryMonitor& monitor = KavelAnrRecoveryMonitor::getInstance();
    const bool isTest = processName == kTestPackage;

    if (eventType == "end" || eventType == "dialog") {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel doKavelAnrRecoverAction]: Finish anr recover state:%s",
                   eventType.c_str());
        if (isTest) mIsKavelAnrTesting = false;
        monitor.cancel_monitor(pid);
        return;
    }
    if (eventType == "closeUser") {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: User request anr recover");
        if (isTest) mIsKavelAnrTesting = true;
        monitor.close_user_request(pid);
        return;
    }
    if (isTest) mIsKavelAnrTesting = true;
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: start anr recover");
    monitor.monitor(pid, false);
    callFramework("doKavelAnrRecoverAction", ANDROID_LOG_ERROR, kAnrRecoveryBegun,
                  {pid, int64_t{eventId}});
}

int RecoveryActions::doKavelWmRebootAction() {
    const TraceSection trace("doKavelWmRebootAction");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: start wmreboot recover");
    const int pid = getPidForCommand("system_server");
    // The line is logged before and after the search. Log readers expect both.
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: start wmreboot recover");
    if (pid < 1) return -1;
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel doKavelWmRebootAction]: Sending signal. PID: %d SIG: %d",
               pid, SIGKILL);
    sendSignal(pid, SIGKILL);
    return 0;
}

int RecoveryActions::doKavelRebootAction() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelRebootAction]: trigger kernel panic");
    if (triggerKernelPanic()) return 0;
    const int noDescriptor = -1;
    KAVEL_LOGE(KAVEL_NO_TAG, "open sysrq-trigger failed!! fd: %d", noDescriptor);
    return -1;
}

int RecoveryActions::getPidForCommand(const std::string& command) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getPidForCommand]: command %s", command.c_str());
    int found = -2;
    const bool isOpen = forEachProcess([&](int pid) {
        char cmdline[kCmdlineSize];
        if (readProcFile(pid, "cmdline", cmdline, sizeof(cmdline)) != ProcRead::Done) return true;
        if (commandOfCmdline(cmdline) != command) return true;
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
