// What the lower rooms declare and the handler, which owns it, defines.

#include <exception>

#include "event/EventIntake.h"
#include "handler/KavelEventHandler.h"
#include "platform/Log.h"
#include "recovery/RecoveryActions.h"

namespace android::kavel {

EventParameters& eventParameters() {
    return KavelEventHandler::getInstance().parameters();
}

int restartFramework() {
    return KavelEventHandler::getInstance().doKavelWmRebootAction();
}

int rebootByPanic() {
    return KavelEventHandler::getInstance().doKavelRebootAction();
}

bool isAnrRecoveryTested() {
    return KavelEventHandler::getInstance().recovery().isAnrTesting();
}

bool intakeKavelEvent(long eventId, const KavelTimestamp& timestamp, int logInfo, int pid, int uid,
                      const std::string& extraInfo) {
    try {
        return KavelEventHandler::getInstance().buildNewKavelEvent(eventId, &timestamp, logInfo,
                                                                   pid, uid, extraInfo.c_str());
    } catch (const std::exception& e) {
        // A report must never end the daemon, whoever sent it.
        KAVEL_LOGE(KAVEL_TAG_BINDER, "[buildNewKavelEvent]: report of eventId 0x%lx dropped: %s\n",
                   eventId, e.what());
        return false;
    }
}

}  // namespace android::kavel
