#pragma once

#include <string>

#include <json/value.h>

namespace android::kavel::tools {

/**
 * Returns the daemon's status as it has written it.
 *
 * @throws CommandError if the daemon does not run, refuses this user or does not answer
 */
std::string askDaemon(bool isJson);

/** Returns the daemon's status. Also throws CommandError if its answer is not a known format. */
Json::Value readStatus();

}  // namespace android::kavel::tools
