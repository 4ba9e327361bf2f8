// Functions that lower modules declare. The handler defines them, because it owns the objects.

#include <cinttypes>
#include <exception>

#include "event/ClockWatch.h"
#include "event/EventIntake.h"
#include "handler/KavelEventHandler.h"
#include "platform/CheckedCast.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/OneLine.h"
#include "recovery/RecoveryActions.h"

namespace android::kavel {
namespace {

/** Time windows, duplicates and names use the wall clock. This line explains odd ones. */
void logStepBack(const KavelTimestamp& arrival) {
    static auto* const watch = new ClockWatch;  // never destroyed: reports may still arrive at exit
    const int64_t back = watch->steppedBack(arrival.realtimeNs, monotonicNs());
    if (back == 0) return;
    KAVEL_LOGW(KAVEL_TAG_BINDER,
               "[intakeKavelEvent]: the wall clock was set back, by at least %" PRId64 " ms.\n",
               back / 1'000'000);
}

}  // namespace

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

bool intakeKavelEvent(long eventId, long logInfo, int pid, int uid, const std::string& extraInfo) {
    try {
        // The first report creates the handler, whose log lines come before the time of arrival.
        KavelEventHandler& handler = KavelEventHandler::getInstance();
        const KavelTimestamp arrival = handler.generateKavelTimestamp();
        logStepBack(arrival);
        return handler.buildNewKavelEvent(eventId, &arrival, checkedInt32("logInfo", logInfo), pid,
                                          uid, extraInfo.c_str());
    } catch (const std::exception& e) {
        // An exception from a report must not end the daemon.
        KAVEL_LOGE(
                KAVEL_TAG_BINDER,
                "[buildNewKavelEvent]: report of eventId 0x%lx dropped: %s; pid %d, uid %d, extra "
                "text: %s\n",
                eventId, e.what(), pid, uid, oneLine(extraInfo).c_str());
        return false;
    }
}

}  // namespace android::kavel
