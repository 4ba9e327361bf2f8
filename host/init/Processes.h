#pragma once

namespace android::kavel::host {

/** Closes every descriptor from 3 up: what the starter left open is none of the phone's. */
void closeInheritedDescriptors();

/**
 * Kills and reaps whatever is still below this process, orphans that come up to it included.
 * Requires that this process is a subreaper or the first of its pid namespace.
 */
void killDescendants();

}  // namespace android::kavel::host
