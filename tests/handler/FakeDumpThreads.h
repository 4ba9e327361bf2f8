#pragma once

#include <string>
#include <vector>

namespace android::kavel::fake {

/**
 * Dump threads started since the last call of this, as "immediate LOGINFO ID FOLDER",
 * "continuous LOGINFO ID FOLDER" and "commercial LOGINFO ID FOLDER". Their bodies do nothing else.
 */
std::vector<std::string> takeDumpThreads();

/** From now on the start of a dump thread fails, or no longer. */
void refuseThreads(bool refuse);

}  // namespace android::kavel::fake
