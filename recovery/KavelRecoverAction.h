#pragma once

#include <string>

#include "event/EventParameters.h"

namespace android::kavel {

/**
 * Performs the recovery action of the event type: the ANR recovery, a restart of the framework, or
 * a kernel crash. Logs an error if the recover id is unknown. Any thread.
 *
 * @param eventType  state of the ANR: "end", "dialog" or "closeUser"; any other value means its
 *                   start
 */
void doKavelRecoverAction(EventParameters& parameters, int pid, long eventId,
                          const std::string& processName, const std::string& eventType);

}  // namespace android::kavel
