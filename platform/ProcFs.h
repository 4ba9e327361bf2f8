#pragma once

#include <cstddef>
#include <functional>

namespace android::kavel {

enum class ProcRead {
    Done,
    NotOpened,  ///< no such process, or no permission
    NotRead,    ///< the process ended meanwhile
};

/**
 * Reads /proc/PID/NAME into @p buffer: at most @p size - 1 bytes, then a NUL. The text is empty if
 * nothing could be read.
 */
ProcRead readProcFile(int pid, const char* name, char* buffer, size_t size);

/**
 * Calls @p visit with the id of each process, in directory order, until it returns false. Returns
 * false, with errno set, if /proc cannot be opened.
 */
bool forEachProcess(const std::function<bool(int pid)>& visit);

}  // namespace android::kavel
