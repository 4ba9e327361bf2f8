#pragma once

#include <string>
#include <vector>

#include "desk/model/Evidence.h"

namespace kaveldesk {

/** What was asked for and is not there, is empty, or is only an error message; one sentence each.
 */
std::vector<std::string> missingEvidence(const Evidence& evidence);

}  // namespace kaveldesk
