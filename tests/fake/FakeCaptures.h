#pragma once

#include "platform/FrameworkCall.h"

namespace android::kavel::fake {

// What the trace captures ask of the phone: each request becomes a log line that begins with
// "fake: ", so that it has its place in a transcript.

/** Whether there is a trace utility; at first there is. */
void setTraceUtility(bool isThere);
/** Whether signals can be sent; at first they can. */
void setSignals(bool work);

}  // namespace android::kavel::fake
