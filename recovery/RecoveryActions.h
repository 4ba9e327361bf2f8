#pragma once

namespace android::kavel {

// Functions of the event handling that the recovery monitor calls. The handler defines them.

/** Kills system_server, so that init restarts the framework. Returns 0, or -1 if there is none. */
int restartFramework();

/** Crashes the kernel. Returns -1 if that is not possible. */
int rebootByPanic();

/** Whether a recovery of the test package is running. Only then is a failed recovery escalated. */
bool isAnrRecoveryTested();

}  // namespace android::kavel
