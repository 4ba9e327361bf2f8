#pragma once

#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "handler/HandlingSteps.h"

namespace android::kavel {

/** One report as it came in. The caller keeps what the pointers name; all of it is copied. */
struct Report {
    long eventId;
    const KavelTimestamp* timestamp;
    int logInfo;
    int pid;
    int uid;
    const char* extraInfo;
};

/**
 * Turns @p report into a record and takes that through @p steps, on the calling thread.
 *
 * @return whether the event type is enabled
 * @throws std::out_of_range if the extra text is too short for the keys of the event type
 * @throws std::bad_alloc, std::system_error where there is no memory or no thread to be had
 */
bool buildNewKavelEvent(EventParameters& parameters, HandlingSteps& steps, const Report& report);

}  // namespace android::kavel
