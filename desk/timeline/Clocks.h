#pragma once

#include <cstdint>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/**
 * Corrects the times of one log, whose @p records are in the order in which they were logged, for
 * a clock that was set back by more than a minute: what was logged before gets shifted so that it
 * stays before. Lines that are late by less, or alone, keep their times.
 */
void straightenClock(const Evidence& evidence, Record* begin, Record* end,
                     std::vector<Problem>& problems);

/**
 * Turns the kernel's clock, which counts from the boot, into UTC: by times of day in the log
 * itself, by the same messages in other logs (from @p others to @p begin), or by the time of
 * collection. A problem says how.
 */
void anchorKernelClock(const Evidence& evidence, const Record* others, Record* begin, Record* end,
                       std::vector<Problem>& problems);

}  // namespace kaveldesk
