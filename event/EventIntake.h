#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

// Functions of the event handling that the inputs call. The handler defines them.

/** The settings of each event type. */
EventParameters& eventParameters();

/**
 * Takes the time of arrival, builds a record of one report and handles it. Blocks the calling
 * thread until the handling returns. Throws nothing: if a report cannot be built, one error line is
 * logged.
 *
 * @param logInfo  log-selection bits; a value outside int32 ends the process
 * @return whether the event type is enabled and the report could be handled
 */
bool intakeKavelEvent(long eventId, long logInfo, int pid, int uid, const std::string& extraInfo);

}  // namespace android::kavel
