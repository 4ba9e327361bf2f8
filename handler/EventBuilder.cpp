#include "handler/EventBuilder.h"

#include "event/ExtraInfo.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {

bool buildNewKavelEvent(EventParameters& parameters, HandlingSteps& steps, const Report& report) {
    const TraceSection trace("buildNewKavelEvent");
    if (!parameters.isEnabled(report.eventId)) {
        KAVEL_LOGI(KAVEL_TAG_BINDER, "buildNewKavelEvent eventId: 0x%lx is Disable! value: %d",
                   report.eventId, false);
        return false;
    }
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[buildNewKavelEvent]: buildNewKavelEvent start.\n");
    const KavelExtraInfo extraInfo = parseExtraInfo(report.extraInfo, report.eventId);
    // The event list sets the id when it inserts the record: under one lock, so ids are unique.
    steps.kavelEventHandleThread(std::make_shared<KavelEvent>(
            report.eventId, report.timestamp, report.logInfo, report.pid, report.uid, &extraInfo));
    return true;
}

}  // namespace android::kavel
