#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace android::kavel {

/** One kind of trace file that is written beside the log folder. */
struct TraceScan {
    const char* directory;
    std::array<const char*, 2> markers;  ///< the name holds both; "" is in every name
    int64_t offset;        ///< seconds that the file is usually written after the event
    const char* tag;       ///< of the lines about single entries
    const char* notFound;  ///< line where the directory cannot be opened
};

/** A file as a scan sees it. */
struct TraceFile {
    std::string name;
    int64_t modified;  ///< seconds since the epoch
};

/**
 * Index of the file whose time, @p offset seconds taken off, is nearest to @p target; of two
 * equally near ones the earlier entry. -1 where no file is nearer than the epoch itself.
 */
int nearestFile(const std::vector<TraceFile>& files, int64_t target, int64_t offset);

/**
 * Fills @p status for the file @p name in @p directory. False, with a line begun with @p tag, if it
 * is gone or not a regular file: a link may lead to any file, and a FIFO makes its reader wait.
 */
bool statListed(const char* tag, const char* directory, const std::string& name,
                struct stat* status);

/** The name of the file in the scan's directory that fits @p timeNs best; empty where none does. */
std::string scanForTrace(const TraceScan& scan, uint64_t timeNs);

}  // namespace android::kavel
