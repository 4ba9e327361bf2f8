#pragma once

#include <string>

namespace android::kavel::host {

/**
 * Writes the stacks of the processes to the file @p path, with the phone's command art_trace.
 * @p processes are process ids or names, with blanks between them; the caller chose them, no app
 * did. The file appears when it is complete. Returns whether all were written.
 */
bool writeArtTrace(const std::string& path, const std::string& processes);

}  // namespace android::kavel::host
