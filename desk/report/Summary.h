#pragma once

#include <string>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"
#include "desk/model/Verdict.h"

namespace kaveldesk {

/** All that the page shows, except the texts of files and the records, as JSON. Texts keep bytes
 * that are not UTF-8; the page replaces them. */
std::string summaryJson(const Evidence& evidence, const Timeline& timeline, const Verdict& verdict,
                        const std::vector<Series>& usage);

}  // namespace kaveldesk
