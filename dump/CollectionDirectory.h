#pragma once

#include <string>

namespace android::kavel {

/** Creates the collection directory if it is missing. Returns false if it cannot be used. */
bool ensureCollectionDirectory();

/**
 * Moves the archive of the log folder @p folder from beside it to the collection directory. Creates
 * the directory if it is missing. If it has an archive of the same name, uses the next free name.
 *
 * @param prefix  start of the log line that shows the command
 * @return text for an error line; empty if the archive has been moved
 */
std::string moveToCollection(const char* prefix, const std::string& folder);

}  // namespace android::kavel
