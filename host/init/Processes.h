#pragma once

namespace android::kavel::host {

/** Closes every descriptor from 3 up, so that the phone does not inherit open files. */
void closeInheritedDescriptors();

/**
 * Kills and reaps all descendants of this process, including its adopted orphans.
 * Requires that this process is a subreaper or the first of its pid namespace.
 */
void killDescendants();

}  // namespace android::kavel::host
