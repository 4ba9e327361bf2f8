#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "desk/model/Evidence.h"

namespace kaveldesk {

enum class Level : uint8_t { Unknown, Verbose, Debug, Info, Warn, Error, Fatal };

/**
 * One line of a log, or several that belong together. Its text is
 * files[place.file].text.substr(begin, length): the line as in the file, without the line end.
 */
struct Record {
    int64_t utcNs = 0;  // nanoseconds since the epoch; a line without a time has its neighbour's
    Place place;
    uint32_t begin = 0;
    uint32_t length = 0;
    uint32_t messageAt = 0;  // offset of the message in the record's text; 0 if there is no head
    uint32_t tagAt = 0;      // offset of the tag in the record's text
    uint16_t tagLength = 0;
    Level level = Level::Unknown;
    FileKind source = FileKind::Other;
    int32_t pid = 0;
    int32_t tid = 0;
};

/** A point or span that the timeline marks: the event, a round, the window. */
struct Mark {
    int64_t fromNs = 0;
    int64_t toNs = 0;  // equal to fromNs for a point
    std::string label;
};

/** The records of all sources in time order, lines of both rounds once. */
struct Timeline {
    std::vector<Record> records;
    std::vector<Mark> marks;
    std::vector<Problem> problems;  // for example a clock that could not be anchored
};

/** Text of @p record as in its file. Valid as long as @p evidence. */
inline std::string_view textOf(const Evidence& evidence, const Record& record) {
    return std::string_view(evidence.files[record.place.file].text)
            .substr(record.begin, record.length);
}

/** A value over time: CPU of a process in percent, or memory in kB. */
struct Series {
    enum class Unit : uint8_t { Percent, KiloBytes };
    struct Point {
        int64_t utcNs;
        double value;
        Place place;
    };
    std::string name;  // "com.example.app", "MemAvailable"
    Unit unit = Unit::Percent;
    std::vector<Point> points;
};

}  // namespace kaveldesk
