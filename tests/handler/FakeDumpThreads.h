#pragma once

#include <map>

#include "dump/CatchTable.h"

namespace android::kavel::fake {

// Takes the place of the dump threads: their bodies only log that they ran. A catch is held, as by
// a running thread, until releaseCatches().

/** The held catches by the pids of their records. */
std::map<int, CatchRef> heldCatches();
void releaseCatches();
/** From now on no thread can be started, or can again. */
void refuseThreads(bool refuse);

}  // namespace android::kavel::fake
