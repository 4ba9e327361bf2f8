#include "recovery/KavelRecoverAction.h"

#include "platform/FrameworkCall.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"
#include "recovery/KavelAnrRecoveryMonitor.h"
#include "recovery/RecoveryActions.h"

namespace android::kavel {
namespace {

enum RecoverId : int64_t { kAnr = 1, kFrameworkRestart = 2, kKernelPanic = 3 };

/** A failed recovery restarts the phone only while this application is being recovered. */
constexpr const char* kTestPackage = "com.test.kavelanrrecovery";

constexpr uint32_t kAnrRecoveryBegun = 8;  // of android.os.IKavelManager

/** Informs the recovery monitor. At the start of an ANR, informs the framework as well. */
void doKavelAnrRecoverAction(int pid, long eventId, const std::string& processName,
                             const std::string& eventType) {
    const TraceSection trace("doKavelAnrRecoverAction");
    KavelAnrRecoveryMonitor& monitor = KavelAnrRecoveryMonitor::getInstance();
    const bool isTest = processName == kTestPackage;

    if (eventType == "end" || eventType == "dialog") {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel doKavelAnrRecoverAction]: Finish anr recover state:%s",
                   eventType.c_str());
        if (isTest) monitor.setAnrTesting(false);
        monitor.cancel_monitor(pid);
        return;
    }
    if (eventType == "closeUser") {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: User request anr recover");
        if (isTest) monitor.setAnrTesting(true);
        monitor.close_user_request(pid);
        return;
    }
    if (isTest) monitor.setAnrTesting(true);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: start anr recover");
    monitor.monitor(pid, false);
    callFramework("doKavelAnrRecoverAction", ANDROID_LOG_ERROR, kAnrRecoveryBegun,
                  {pid, int64_t{eventId}});
}

}  // namespace

void doKavelRecoverAction(EventParameters& parameters, int pid, long eventId,
                          const std::string& processName, const std::string& eventType) {
    const TraceSection trace("doKavelRecoverAction");
    const long recoverId = parameters.recoverId(eventId);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelRecoverAction]: pid:%d eventId:%ld recoverId:%ld",
               pid, eventId, recoverId);
    long ret = 0;
    switch (recoverId) {
        case kAnr:
            doKavelAnrRecoverAction(pid, eventId, processName, eventType);
            KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel doKavelAnrRecoverAction]: mIsKavelAnrTesting:%d",
                       KavelAnrRecoveryMonitor::getInstance().isAnrTesting());
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

}  // namespace android::kavel
