#pragma once

namespace android::kavel::host {

/** Divisor of all waits, from KAVEL_HOST_TIME_SCALE; 1 if that is not set or not valid. */
double timeScale();

}  // namespace android::kavel::host
