#pragma once

namespace android::kavel {

/**
 * Crashes the kernel, so that its memory is kept for analysis. On the phone nothing runs after
 * this. Returns false if the kernel does not allow it.
 */
bool triggerKernelPanic();

}  // namespace android::kavel
