#pragma once

namespace android::kavel {

/**
 * Makes the kernel crash, so that its memory is kept for analysis. On the phone nothing after this
 * matters. False where the kernel does not let us.
 */
bool triggerKernelPanic();

}  // namespace android::kavel
