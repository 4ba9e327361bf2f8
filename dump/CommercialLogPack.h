#pragma once

#include <vector>

#include "dump/CatchTable.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Packs the folder of an abnormal action on a commercial build. Waits for the commands of the
 * events around it, and adds their stack traces and folders.
 *
 * @param ring  the main record, then the event list
 */
void commercialLogPack(const CatchRef& running, const std::vector<EventRef>& ring);

}  // namespace android::kavel
