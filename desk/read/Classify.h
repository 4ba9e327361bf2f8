#pragma once

#include <string_view>

#include "desk/model/Evidence.h"

namespace kaveldesk {

/** Whether the name is one of a system trace, whose bytes are not read. */
bool isSystemTraceName(std::string_view name);

/** What a file holds, by its name or else by its first lines. */
FileKind kindOf(std::string_view name, std::string_view text);

/** Sets kind, round and time of collection of all files. The incident's UTC offset must be set. */
void classifyFiles(Evidence& evidence);

}  // namespace kaveldesk
