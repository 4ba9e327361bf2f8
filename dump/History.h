#pragma once

#include "dump/CatchTable.h"

namespace android::kavel {

/** Appends the event's line to kavel_history.txt in the folder of @p running. */
void generateKavelHistoryLog(const CatchRef& running);

}  // namespace android::kavel
