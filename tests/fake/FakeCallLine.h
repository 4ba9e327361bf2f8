#pragma once

#include "platform/CallLine.h"

namespace android::kavel::fake {

/**
 * Sets the outcome of all further calls; the default is Returned. A call runs on the caller's
 * thread, so that its log lines come in order; a dropped call does not run.
 */
void setCallOutcome(CallLine::Outcome outcome);

}  // namespace android::kavel::fake
