#pragma once

#include <string>

#include "dump/CatchTable.h"

namespace android::kavel {

/**
 * Starts the thread that takes the first round of logs of @p running into @p folder.
 *
 * @throws std::system_error where no thread can be had
 */
void startImmediateDump(const CatchRef& running, const std::string& folder);

}  // namespace android::kavel
