#include <fmt/core.h>

#include <algorithm>

#include "desk/parse/Time.h"
#include "desk/timeline/Clocks.h"

namespace kaveldesk {
namespace {

constexpr int64_t kStepNs = 60 * kNsPerSecond;

/** A few lines in the future, as of a process that writes a wrong time, get the time before. */
void flattenOutliers(Record* begin, Record* end) {
    constexpr ptrdiff_t kMostLines = 8;
    for (Record* record = begin + 1; record < end; ++record) {
        const int64_t before = record[-1].utcNs;
        if (record->utcNs <= before + kStepNs) continue;
        Record* const limit = record + std::min(kMostLines, end - record);
        Record* const back = std::find_if(record, limit, [before](const Record& later) {
            return later.utcNs <= before + kStepNs;
        });
        if (back == limit || back->utcNs < before - kStepNs) continue;
        std::for_each(record, back, [before](Record& outlier) { outlier.utcNs = before; });
        record = back;
    }
}

}  // namespace

void straightenClock(const Evidence& evidence, Record* begin, Record* end,
                     std::vector<Problem>& problems) {
    if (begin == end) return;
    flattenOutliers(begin, end);
    // From the end, whose clock is the one that the collection has.
    int64_t shift = 0;
    int64_t latest = end[-1].utcNs;
    for (Record* record = end - 1; record-- > begin;) {
        if (record->utcNs + shift > latest + kStepNs) {
            const int64_t goesBack = record->utcNs + shift - record[1].utcNs;
            shift -= goesBack;
            problems.push_back(
                    {evidence.files[record->place.file].name,
                     fmt::format("The clock goes back by {} s after line {}: the lines before it "
                                 "are shifted by as much.",
                                 goesBack / kNsPerSecond, record->place.line)});
        }
        record->utcNs += shift;
        latest = std::max(latest, record->utcNs);
    }
}

}  // namespace kaveldesk
