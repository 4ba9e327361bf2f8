#pragma once

#include <string>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/** What was asked for and is not there, is empty, is cut off, or is only an error message; one
 * sentence each.
 */
std::vector<std::string> missingEvidence(const Evidence& evidence,
                                         const std::vector<ThreadDump>& dumps);

}  // namespace kaveldesk
