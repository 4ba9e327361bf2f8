#pragma once

#include <map>
#include <string>
#include <vector>

#include "dump/CatchTable.h"

namespace android::kavel::fake {

// Takes the place of the dump threads: their bodies only note that they ran. A catch is held, as by
// a running thread, until releaseCatches().

/** The threads since the last call: "KIND LOG-INFO of PID FOLDER", in the order of their start. */
std::vector<std::string> takeDumpThreads();
/** The held catches by the pids of their records. */
std::map<int, CatchRef> heldCatches();
void releaseCatches();
/** From now on no thread can be started, or can again. */
void refuseThreads(bool refuse);

}  // namespace android::kavel::fake
