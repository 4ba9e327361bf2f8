#pragma once

namespace android::kavel::fake {

/** While @p refuse is set, no thread can be created in the process. */
void refuseThreads(bool refuse);

}  // namespace android::kavel::fake
