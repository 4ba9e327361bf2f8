#include "core/KavelBinderService.h"

#include <exception>
#include <string>

#include <utils/String8.h>

#include "handler/KavelEventHandler.h"
#include "platform/Log.h"

namespace android {
namespace {

/**
 * Runs @p call. The binder runtime does not catch exceptions, so one would end the daemon. Even the
 * first use of the handler can throw, if there is no memory or no thread.
 */
template <typename Call>
void guarded(const char* step, long eventId, const Call& call) {
    try {
        call();
    } catch (const std::exception& e) {
        KAVEL_LOGE(KAVEL_TAG_BINDER, "[%s]: eventId 0x%lx dropped: %s\n", step, eventId, e.what());
    }
}

}  // namespace

void KavelBinderService::sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid,
                                            int uid, String16 extraInfo) {
    const std::string extraText = String8(extraInfo).c_str();
    // Tools that read the log depend on the spelling "Framwork".
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent eventId: 0x%lx", eventId);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent timestamp: %ld", timestamp);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent logInfo: 0x%lx", logInfo);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent pid: %d", pid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent uid: %d", uid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent extraInfo: %s", extraText.c_str());

    guarded("sendFrameworkEvent", eventId, [&] {
        KavelEventHandler::getInstance().report({eventId, logInfo, pid, uid, extraText});
    });
}

void KavelBinderService::updateEventParams(long eventId, String16 eventName, bool isEnable,
                                           long reportFreq, long /* logInfo: not kept */,
                                           long timeWindow, long recoverId) {
    KAVEL_LOGI(KAVEL_TAG_BINDER,
               "Bn updateEventParams eventId: 0x%lx, isEnable: %d, reportFreq: %ld,timeWindow: "
               "%ld,recoverId: %ld",
               eventId, isEnable, reportFreq, timeWindow, recoverId);
    guarded("updateEventParams", eventId, [&] {
        kavel::EventParameters& parameters = KavelEventHandler::getInstance().parameters();
        parameters.updateEventParams(eventId, isEnable, reportFreq);
        parameters.setTimeWindow(eventId, timeWindow);
        parameters.setRecoverId(eventId, recoverId);
        parameters.setEventIdMap(recoverId, eventId, String8(eventName).c_str());
    });
}

}  // namespace android
