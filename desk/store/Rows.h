#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

// The rows of the index as plain values. desk/store/Schema.cpp has the meaning of each column.
// Times are milliseconds since the epoch, UTC; 0 if unknown.

/** One event of the archive, in the order of its events file. */
struct EventRow {
    std::string name;
    int64_t eventId = 0;
    int64_t utc = 0;
    uint32_t mask = 0;
    std::string process;
    std::string version;
    std::string type;
    int32_t pid = 0;
    int32_t uid = 0;
};

struct FileRow {
    std::string name;  // without the folders that all files of the archive have in common
    std::string kind;
    int64_t size = 0;
    int round = 0;
};

struct FindingRow {
    std::string kind;
    std::string weight;
    std::string sentence;
};

/** A figure about the catch, for example the lines of its logs. */
struct StatisticRow {
    std::string name;
    double value = 0;
};

/** One archive. What is not known is empty or 0. */
struct CatchRow {
    std::string hash;  // SHA-256 of the file, 64 hexadecimal digits in lower case
    std::string archive;
    std::string path;  // absolute, of the file that was indexed first
    int64_t size = 0;
    std::string event;
    int64_t eventId = 0;
    std::string process;
    std::string version;
    std::string type;
    std::string build;
    int64_t utc = 0;
    uint32_t mask = 0;
    bool isBroken = false;
    std::string why;  // sentences, if it is broken
    std::string kind;
    std::string headline;
    bool isEnough = false;
    std::string fingerprint;  // empty if there is nothing to group by
    std::string signature;    // the parts with " | " between them
    std::vector<EventRow> events;
    std::vector<FileRow> files;
    std::vector<FindingRow> findings;
    std::vector<StatisticRow> statistics;
};

/** A file that was indexed. An unchanged one is not read again. */
struct SourceRow {
    std::string path;  // absolute
    int64_t size = 0;
    int64_t modifiedNs = 0;
    std::string hash;  // of its catch
};

/** What is stored at once. */
struct Batch {
    std::vector<CatchRow> catches;
    std::vector<SourceRow> sources;
};

inline constexpr int64_t kMsPerHour = 3'600'000;
inline constexpr int64_t kMsPerDay = 24 * kMsPerHour;

/** The start of the span of @p ms (an hour, a day) that @p utc is in, also before the epoch. */
constexpr int64_t startOf(int64_t utc, int64_t ms) {
    const int64_t rest = utc % ms;
    return utc - (rest < 0 ? rest + ms : rest);
}

/** An id for a catch in an engine that does not count them: the first 63 bits of its @p hash. */
int64_t idOf(std::string_view hash);

}  // namespace kaveldesk
