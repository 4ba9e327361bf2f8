#include "desk/timeline/BuildTimeline.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include "desk/timeline/Clocks.h"
#include "desk/timeline/LogStream.h"
#include "desk/timeline/Rounds.h"
#include "desk/timeline/Snapshots.h"

namespace kaveldesk {
namespace {

bool isEarlier(const Record& a, const Record& b) {
    return a.utcNs < b.utcNs;
}

/** The dumps of each log, in the order of their collection. Without a time, a file is alone. */
std::vector<std::vector<uint32_t>> findLogs(const Evidence& evidence) {
    std::map<FileKind, std::vector<uint32_t>> dumps;
    std::vector<std::vector<uint32_t>> logs;
    for (uint32_t i = 0; i < evidence.files.size(); ++i) {
        const EvidenceFile& file = evidence.files[i];
        if (!isLog(file.kind)) continue;
        if (file.collectedUtcNs == 0) {
            logs.push_back({i});
        } else {
            dumps[file.kind].push_back(i);
        }
    }
    for (auto& [kind, files] : dumps) {
        std::stable_sort(files.begin(), files.end(), [&](uint32_t a, uint32_t b) {
            return evidence.files[a].collectedUtcNs < evidence.files[b].collectedUtcNs;
        });
        logs.push_back(std::move(files));
    }
    // The kernel's clock is matched by the others.
    std::stable_partition(logs.begin(), logs.end(), [&](const std::vector<uint32_t>& log) {
        return evidence.files[log.front()].kind != FileKind::KernelLog;
    });
    return logs;
}

/** Number of lines of all logs. */
size_t countLines(const Evidence& evidence) {
    size_t lines = 0;
    for (const EvidenceFile& file : evidence.files) {
        if (!isLog(file.kind)) continue;
        lines += static_cast<size_t>(std::count(file.text.begin(), file.text.end(), '\n')) + 1;
    }
    return lines;
}

/** Appends the lines of all dumps of one log, each line once. */
void appendDumps(const Evidence& evidence, const std::vector<uint32_t>& files, Timeline& timeline) {
    std::vector<Record>& records = timeline.records;
    const size_t first = records.size();
    size_t before = first;
    size_t now = first;
    std::vector<bool> isRepeat;
    for (const uint32_t file : files) {
        const size_t room = kMaxRecords - std::min(kMaxRecords, records.size());
        appendLog(evidence, file, room, records, timeline.problems);
        if (now == records.size()) continue;
        RepeatFinder finder(evidence, records, before, now);
        for (size_t i = now; i < records.size(); ++i) {
            isRepeat.push_back(finder.isRepeat(records[i]));
        }
        before = std::exchange(now, records.size());
    }
    // Only at the end: the next dump is compared with all lines of the one before it.
    size_t end = first;
    for (size_t i = first; i < records.size(); ++i) {
        if (!isRepeat[i - first]) records[end++] = records[i];
    }
    records.resize(end);
}

/** Merges runs that are each in order; run i ends at @p ends[i]. */
void mergeRuns(std::vector<Record>& records, std::vector<size_t> ends) {
    const auto at = [&](size_t index) { return records.begin() + static_cast<ptrdiff_t>(index); };
    while (ends.size() > 1) {
        std::vector<size_t> merged;
        for (size_t i = 0; i < ends.size(); i += 2) {
            if (i + 1 == ends.size()) {
                merged.push_back(ends[i]);
                continue;
            }
            const size_t start = i == 0 ? 0 : ends[i - 1];
            std::inplace_merge(at(start), at(ends[i]), at(ends[i + 1]), isEarlier);
            merged.push_back(ends[i + 1]);
        }
        ends = std::move(merged);
    }
}

}  // namespace

Timeline buildTimeline(const Evidence& evidence) {
    Timeline timeline;
    std::vector<Record>& records = timeline.records;
    records.reserve(std::min(countLines(evidence), kMaxRecords));
    std::vector<size_t> ends;
    const auto endRun = [&](size_t first) {
        const auto begin = records.begin() + static_cast<ptrdiff_t>(first);
        if (!std::is_sorted(begin, records.end(), isEarlier)) {
            std::stable_sort(begin, records.end(), isEarlier);
        }
        ends.push_back(records.size());
    };
    for (const std::vector<uint32_t>& log : findLogs(evidence)) {
        const size_t first = records.size();
        appendDumps(evidence, log, timeline);
        Record* const end = records.data() + records.size();
        if (evidence.files[log.front()].kind == FileKind::KernelLog) {
            anchorKernelClock(evidence, records.data(), records.data() + first, end,
                              timeline.problems);
        } else {
            straightenClock(evidence, records.data() + first, end, timeline.problems);
        }
        endRun(first);
    }
    const size_t first = records.size();
    appendSnapshots(evidence, records);
    endRun(first);
    mergeRuns(records, std::move(ends));
    timeline.marks = findMarks(evidence);
    return timeline;
}

}  // namespace kaveldesk
