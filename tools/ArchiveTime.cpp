#include "tools/ArchiveTime.h"

#include <android-base/stringprintf.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>

namespace android::kavel::tools {
namespace {

constexpr int64_t kMinuteMs = 60'000;
constexpr int64_t kHourMs = 60 * kMinuteMs;
/** All offsets in use are multiples of this. */
constexpr int64_t kOffsetStepMs = 15 * kMinuteMs;
/** Maximum time between the two clock readings of a name: the daemon may be slow. */
constexpr int64_t kMaxDelayMs = kMinuteMs;

/** Year, month, day, hour, minute, second, millisecond. */
using TimeFields = std::array<int32_t, 7>;

std::optional<TimeFields> fieldsOf(std::string_view timeText) {
    TimeFields fields{};
    for (int32_t& field : fields) {
        const size_t end = std::min(timeText.find('-'), timeText.size());
        const auto [stop, error] =
                std::from_chars(timeText.data(), timeText.data() + end, field, 10);
        const bool isInRange = field >= 0 && field <= 9999;  // a longer year overflows below
        if (error != std::errc() || stop != timeText.data() + end || !isInRange) return {};
        timeText.remove_prefix(std::min(end + 1, timeText.size()));
    }
    if (!timeText.empty()) return {};
    return fields;
}

std::tm calendarOf(const TimeFields& fields) {
    std::tm calendar{};
    calendar.tm_year = fields[0] - 1900;
    calendar.tm_mon = fields[1] - 1;
    calendar.tm_mday = fields[2];
    calendar.tm_hour = fields[3];
    calendar.tm_min = fields[4];
    calendar.tm_sec = fields[5];
    calendar.tm_isdst = -1;
    return calendar;
}

std::optional<int32_t> offsetOf(int64_t localMs, int64_t utcMs) {
    const int64_t difference = localMs - utcMs;
    const int64_t half = difference < 0 ? -kOffsetStepMs / 2 : kOffsetStepMs / 2;
    const int64_t offset = (difference + half) / kOffsetStepMs * kOffsetStepMs;
    if (std::abs(difference - offset) > kMaxDelayMs) return {};
    if (offset < -12 * kHourMs || offset > 14 * kHourMs) return {};
    return static_cast<int32_t>(offset / kMinuteMs);
}

}  // namespace

ArchiveTime archiveTime(const LogName& name) {
    const auto fields = fieldsOf(name.timeText);
    if (!fields) return {};
    std::tm calendar = calendarOf(*fields);
    const int64_t localMs = int64_t{timegm(&calendar)} * 1000 + (*fields)[6];
    ArchiveTime time;
    time.offsetMinutes = offsetOf(localMs, folderIdTimeNs(name) / 1'000'000);
    if (time.offsetMinutes) {
        time.utcMs = localMs - *time.offsetMinutes * kMinuteMs;
    } else {
        calendar = calendarOf(*fields);
        time.utcMs = int64_t{mktime(&calendar)} * 1000 + (*fields)[6];
    }
    return time;
}

std::string isoTime(const LogName& name, char separator) {
    std::string text = isoLocalTime(name.timeText, separator);
    if (const auto offset = archiveTime(name).offsetMinutes) {
        const int32_t size = std::abs(*offset);
        text += base::StringPrintf("%c%02d:%02d", *offset < 0 ? '-' : '+', size / 60, size % 60);
    }
    return text;
}

std::string isoLocalTime(std::string_view timeText, char separator) {
    const auto fields = fieldsOf(timeText);
    if (!fields) return std::string(timeText);
    const auto [year, month, day, hour, minute, second, milli] = *fields;
    return base::StringPrintf("%04d-%02d-%02d%c%02d:%02d:%02d.%03d", year, month, day, separator,
                              hour, minute, second, milli);
}

}  // namespace android::kavel::tools
