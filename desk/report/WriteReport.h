#pragma once

#include <ostream>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"
#include "desk/model/Verdict.h"

namespace kaveldesk {

/** Writes one HTML page that needs nothing else: no network, no other file. */
void writeReport(std::ostream& out, const Evidence& evidence, const Timeline& timeline,
                 const Verdict& verdict, const std::vector<Series>& usage);

}  // namespace kaveldesk
