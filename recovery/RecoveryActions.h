#pragma once

#include <string>

namespace android::kavel {

// Restart of the framework, crash of the kernel, and the search for a process by its command. Any
// thread.

/**
 * Kills system_server, so that init restarts the framework. Returns -1 if there is no such process,
 * otherwise 0, even if it cannot be killed: then an error line is logged.
 */
int doKavelWmRebootAction();

/** Crashes the kernel. Returns -1 if the kernel does not allow it. */
int doKavelRebootAction();

/**
 * Returns the pid of the first process with that command: -1 if /proc cannot be opened, -2 if there
 * is none.
 */
int getPidForCommand(const std::string& command);

}  // namespace android::kavel
