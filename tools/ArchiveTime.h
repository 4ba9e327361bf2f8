#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {

/** When an archive was named. */
struct ArchiveTime {
    int64_t utcMs = 0;  ///< milliseconds since 1970, UTC; by this machine's zone without an offset
    std::optional<int32_t> offsetMinutes;  ///< of the phone's local time from UTC, if it is known
};

/**
 * Compares the local time in a name with the UTC time in its folder id, which gives the phone's
 * offset at that moment. The offset is unknown if the difference is not one that a time zone has.
 */
ArchiveTime archiveTime(const LogName& name);

/** Returns the time of @p name as ISO 8601, with @p separator between date and time. */
std::string isoTime(const LogName& name, char separator);

/**
 * Returns a time of the form YYYY-MM-DD-HH-MM-SS-mmm, as in history lines, as ISO 8601 without an
 * offset. Any other text is returned as it is.
 */
std::string isoLocalTime(std::string_view timeText, char separator);

}  // namespace android::kavel::tools
