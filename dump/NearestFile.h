#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace android::kavel {

/** A kind of trace file that is written outside the log folder. */
struct TraceScan {
    const char* directory;
    std::array<const char*, 2> markers;  ///< the name must contain both; "" is in every name
    int64_t offset;                      ///< usual delay of the file after the event, in seconds
    const char* tag;                     ///< tag of the log lines about single entries
    const char* notFound;                ///< log line if the directory cannot be opened
};

/** A file that a scan has found. */
struct TraceFile {
    std::string name;
    int64_t modified;  ///< seconds since the epoch
};

/**
 * Returns the index of the file whose time minus @p offset is nearest to @p target; the first one
 * if two are equally near. Returns -1 if no file is nearer than the epoch.
 */
int nearestFile(const std::vector<TraceFile>& files, int64_t target, int64_t offset);

/**
 * Fills @p status for the file @p name in @p directory. Returns false and logs a line with @p tag
 * if the file is gone or not a regular file: a link may lead to any file, and opening a FIFO can
 * block.
 */
bool statListed(const char* tag, const char* directory, const std::string& name,
                struct stat* status);

/**
 * Returns the name of the file in the scan's directory that is nearest to @p timeNs; empty if there
 * is none.
 */
std::string scanForTrace(const TraceScan& scan, uint64_t timeNs);

}  // namespace android::kavel
