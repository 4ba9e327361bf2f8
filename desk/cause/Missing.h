#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/cause/Case.h"

namespace kaveldesk {

/** What was asked for, or what a verdict of @p kind rests on (if that is "unknown", of the kinds
 * @p wanted by the event), and is not there, is empty, is cut off, or is only an error message; one
 * sentence each.
 */
std::vector<std::string> missingEvidence(const Case& c, std::string_view kind,
                                         const std::vector<std::string_view>& wanted);

}  // namespace kaveldesk
