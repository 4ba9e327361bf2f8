#pragma once

#include <string>

namespace android::kavel::host {

/**
 * Writes the stacks of the processes to the file @p path, with the phone's command art_trace. The
 * file appears when it is complete. Returns false, without a file, if a process does not exist.
 *
 * @param processes  process ids or names, with blanks between them. A shell expands them, so they
 *                   must not come from an app
 */
bool writeArtTrace(const std::string& path, const std::string& processes);

}  // namespace android::kavel::host
