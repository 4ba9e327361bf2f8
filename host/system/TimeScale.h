#pragma once

namespace android::kavel::host {

/** How many times faster than the phone's this host's time runs; 1 if not said or not sensible. */
double timeScale();

}  // namespace android::kavel::host
