#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

// What every way in needs of the event handling above it. The handler defines these functions.

/** The settings of each event type. */
EventParameters& eventParameters();

/**
 * Builds a record of one report and handles it, on the calling thread, which is blocked until the
 * handling returns. No exception leaves: a report that cannot be built ends with one error line.
 *
 * @return whether the event type is enabled and the report could be handled
 */
bool intakeKavelEvent(long eventId, const KavelTimestamp& timestamp, int logInfo, int pid, int uid,
                      const std::string& extraInfo);

}  // namespace android::kavel
