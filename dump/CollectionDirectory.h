#pragma once

#include <string>

namespace android::kavel {

/** Makes the collection directory if it is missing. False if it cannot be used. */
bool ensureCollectionDirectory();

/**
 * Moves the archive of the log folder @p folder, which is beside it, to the collection directory.
 * That is made if it is missing. If an archive of that name is there, this one gets the next free
 * name.
 *
 * @param prefix  of the line that shows the command
 * @return what went wrong, for an error line; empty if the archive has been moved
 */
std::string moveToCollection(const char* prefix, const std::string& folder);

}  // namespace android::kavel
