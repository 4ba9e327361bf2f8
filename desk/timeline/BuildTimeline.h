#pragma once

#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/** Puts all log lines of @p evidence on one clock (UTC), in time order. */
Timeline buildTimeline(const Evidence& evidence);

}  // namespace kaveldesk
