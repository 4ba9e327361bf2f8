#pragma once

#include <string_view>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"
#include "desk/model/Verdict.h"

namespace kaveldesk {

/** Finds what most likely happened, and groups it with others of its kind. Same input, same result.
 */
Verdict findCause(const Evidence& evidence, const Timeline& timeline);

/** The weight as users and programs read it: "cause", "contributing" or "observation". */
std::string_view weightName(Finding::Weight weight);

/** CPU of processes and memory over time, from top, dumpsys and CPU usage blocks in the logs. */
std::vector<Series> usageSeries(const Evidence& evidence, const Timeline& timeline);

}  // namespace kaveldesk
