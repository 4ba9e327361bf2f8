#pragma once

#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "handler/HandlingSteps.h"

namespace android::kavel {

/**
 * One report as it was received. The caller owns the pointers' targets; the contents are copied.
 */
struct Report {
    long eventId;
    const KavelTimestamp* timestamp;
    int logInfo;
    int pid;
    int uid;
    const char* extraInfo;
};

/**
 * Builds a record from @p report and runs @p steps with it, on the calling thread.
 *
 * @return whether the event type is enabled
 * @throws std::out_of_range if the extra text is too short for the keys of the event type
 * @throws std::bad_alloc, std::system_error if there is no memory or no thread can be created
 */
bool buildNewKavelEvent(EventParameters& parameters, HandlingSteps& steps, const Report& report);

}  // namespace android::kavel
