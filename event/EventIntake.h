#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

// What every way in needs of the event handling above it. The handler defines these functions.

/** The settings of each event type. */
EventParameters& eventParameters();

/**
 * Takes the time of arrival, builds a record of one report and handles it, on the calling thread,
 * which is blocked until the handling returns. No exception leaves: a report that cannot be built
 * ends with one error line.
 *
 * @param logInfo  log-selection bits; a value outside int32 ends the process
 * @return whether the event type is enabled and the report could be handled
 */
bool intakeKavelEvent(long eventId, long logInfo, int pid, int uid, const std::string& extraInfo);

}  // namespace android::kavel
