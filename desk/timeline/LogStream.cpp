#include "desk/timeline/LogStream.h"

#include <optional>
#include <string_view>

#include "desk/parse/LogLine.h"

namespace kaveldesk {
namespace {

/** The first time with a year near the beginning of @p text; 0 if there is none. */
int64_t firstTimeWithYear(std::string_view text, int32_t offsetSeconds) {
    constexpr int kLines = 1000;
    for (size_t i = 0, position = 0; i < kLines && position < text.size(); ++i) {
        const std::string_view line = takeLine(text, position);
        const auto parsed = parseLogcatLine(line);
        std::optional<Stamp> stamp = parsed ? std::optional(parsed->stamp) : std::nullopt;
        constexpr std::string_view kBugReport = "== dumpstate: ";
        if (line.substr(0, kBugReport.size()) == kBugReport) {
            Scanner scanner(line.substr(kBugReport.size()));
            stamp = takeStamp(scanner);
        }
        if (stamp && stamp->year >= 0) return utcOf(*stamp, offsetSeconds);
    }
    return 0;
}

/** Turns stamps into UTC. Most lines are of the day of the line before them. */
class Calendar {
  public:
    /**
     * Stamps without a year get that of the nearest line of the log that has one, which is at
     * @p nearbyNs for the first lines, or else are not after @p collectedNs. 0: there is none.
     */
    Calendar(int64_t nearbyNs, int64_t collectedNs, int32_t offsetSeconds)
          : mNearbyNs(nearbyNs), mCollectedNs(collectedNs), mOffsetSeconds(offsetSeconds) {}

    int64_t utc(const Stamp& stamp) {
        if (stamp.year != mDay.year || stamp.month != mDay.month || stamp.day != mDay.day) {
            mDay = stamp;
            if (stamp.year < 0) mDay.year = yearOf(stamp);
            mDay.nsOfDay = 0;
            mDay.hasZone = true;
            mDay.zoneSeconds = 0;
            mMidnightNs = utcOf(mDay, 0);
            mDay.year = stamp.year;
            if (stamp.year >= 0) mNearbyNs = mMidnightNs;
        }
        const int32_t zone = stamp.hasZone ? stamp.zoneSeconds : mOffsetSeconds;
        return mMidnightNs + stamp.nsOfDay - zone * kNsPerSecond;
    }

    bool lacksYear() const { return mLacksYear; }

  private:
    /** The last year in which the stamp is not after the collection, or half a year after a line
     * nearby. A day later than the collection is a clock that was wrong. */
    int32_t yearOf(Stamp stamp) {
        const int64_t latest =
                mNearbyNs != 0 ? mNearbyNs + kNsPerDay * 365 / 2 : mCollectedNs + kNsPerDay;
        if (mNearbyNs == 0 && mCollectedNs == 0) {
            mLacksYear = true;
            return 1970;
        }
        constexpr int32_t kYears = 9;  // there are up to eight years between two leap days
        const auto last = static_cast<int32_t>(1971 + latest / (kNsPerDay * 365));
        for (stamp.year = last; stamp.year > last - kYears - 1; --stamp.year) {
            if (stamp.day <= daysOfMonth(stamp.year, stamp.month) &&
                utcOf(stamp, mOffsetSeconds) <= latest) {
                break;
            }
        }
        return stamp.year;
    }

    int64_t mNearbyNs;
    int64_t mCollectedNs;
    int32_t mOffsetSeconds;
    Stamp mDay = {-2};
    int64_t mMidnightNs = 0;
    bool mLacksYear = false;
};

/** Time and head of one line. */
struct TimedHead {
    int64_t ns;
    LineHead head;
};

/**
 * @p parse returns the time and head of a line, or nullopt. Returns false if the lines are more
 * than @p room.
 */
template <typename Parse>
bool appendLines(const Evidence& evidence, uint32_t fileIndex, size_t room, Parse parse,
                 int64_t defaultNs, std::vector<Record>& records) {
    const EvidenceFile& file = evidence.files[fileIndex];
    const std::string_view text(file.text);
    const size_t first = records.size();
    std::optional<size_t> firstTimed;
    int64_t lastNs = defaultNs;
    uint32_t number = 0;
    bool isWhole = true;
    for (size_t position = 0; position < text.size();) {
        const size_t begin = position;
        isWhole = records.size() - first < room;
        const std::string_view line = isWhole ? takeLine(text, position) : text.substr(begin);
        if (!isWhole) position = text.size();
        ++number;
        if (line.empty()) continue;
        Record record;
        record.place = {fileIndex, number};
        record.begin = static_cast<uint32_t>(begin);
        record.length = static_cast<uint32_t>(line.size());
        record.source = file.kind;
        if (const std::optional<TimedHead> timed = parse(line)) {
            lastNs = timed->ns;
            record.level = timed->head.level;
            record.pid = timed->head.pid;
            record.tid = timed->head.tid;
            record.tagAt = timed->head.tagAt;
            record.tagLength = timed->head.tagLength;
            record.messageAt = timed->head.messageAt;
            if (!firstTimed) firstTimed = records.size();
        }
        record.utcNs = lastNs;
        records.push_back(record);
    }
    for (size_t i = first; i < firstTimed.value_or(first); ++i) {
        records[i].utcNs = records[*firstTimed].utcNs;
    }
    return isWhole;
}

}  // namespace

void appendLog(const Evidence& evidence, uint32_t fileIndex, size_t room,
               std::vector<Record>& records, std::vector<Problem>& problems) {
    const EvidenceFile& file = evidence.files[fileIndex];
    const int32_t offset = evidence.incident.utcOffsetSeconds;
    const int64_t nearby = firstTimeWithYear(file.text, offset);
    const int64_t collected =
            file.collectedUtcNs != 0 ? file.collectedUtcNs : evidence.incident.utcNs;
    Calendar calendar(nearby, collected, offset);
    const auto parseLogcat = [&calendar](std::string_view line) -> std::optional<TimedHead> {
        const auto parsed = parseLogcatLine(line);
        if (!parsed) return std::nullopt;
        return TimedHead{calendar.utc(parsed->stamp), parsed->head};
    };
    const auto parseKernel = [](std::string_view line) -> std::optional<TimedHead> {
        const auto parsed = parseKernelLine(line);
        if (!parsed) return std::nullopt;
        return TimedHead{parsed->bootNs, parsed->head};
    };
    const bool isWhole = file.kind == FileKind::KernelLog
                                 ? appendLines(evidence, fileIndex, room, parseKernel, 0, records)
                                 : appendLines(evidence, fileIndex, room, parseLogcat,
                                               collected != 0 ? collected : nearby, records);
    if (!isWhole) {
        problems.push_back({file.name, "It has too many lines: the last ones count as one."});
    }
    if (calendar.lacksYear()) {
        problems.push_back({file.name, "The year of its lines is not known: they count as 1970."});
    }
}

}  // namespace kaveldesk
