#pragma once

#include "platform/CallLine.h"

namespace android::kavel::fake {

/**
 * Calls run on the caller's thread, so that their log lines have their place among the caller's.
 * How every call ends from now on: one that is dropped does not run. At first all return.
 */
void setCallOutcome(CallLine::Outcome outcome);

}  // namespace android::kavel::fake
