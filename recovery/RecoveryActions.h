#pragma once

namespace android::kavel {

// What the recovery monitor needs of the event handling above it. The handler defines these
// functions.

/** Kills system_server, so that init starts the framework anew. 0, or -1 where there is none. */
int restartFramework();

/** Crashes the kernel. -1 where that is not to be had. */
int rebootByPanic();

/** Whether the recovery of the test package is under way; a failed one is then taken further. */
bool isAnrRecoveryTested();

}  // namespace android::kavel
