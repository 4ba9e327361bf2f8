#pragma once

#include <cstddef>
#include <functional>

namespace android::kavel {

enum class ProcRead {
    Done,
    NotOpened,  ///< no such process, or not for us to see
    NotRead,    ///< it went away in between
};

/**
 * Reads /proc/PID/NAME into @p buffer: at most @p size - 1 bytes, then a NUL. The text is empty
 * where nothing could be read.
 */
ProcRead readProcFile(int pid, const char* name, char* buffer, size_t size);

/**
 * Calls @p visit with the id of each process, in the order of the directory, until it returns
 * false. False, with errno set, where /proc cannot be opened.
 */
bool forEachProcess(const std::function<bool(int pid)>& visit);

}  // namespace android::kavel
