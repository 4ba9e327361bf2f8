#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "desk/parse/LogLine.h"
#include "desk/timeline/Clocks.h"

namespace kaveldesk {
namespace {

/** From this record on, UTC is the kernel's clock plus the offset. */
struct Anchor {
    const Record* from;
    int64_t offsetNs;
};

std::string_view messageOf(const Evidence& evidence, const Record& record) {
    return textOf(evidence, record).substr(record.messageAt);
}

std::vector<Anchor> anchorsInLog(const Evidence& evidence, const Record* begin, const Record* end) {
    // The kernel's clock does not count while the phone sleeps. Smaller differences are delays
    // between the time of day and its line.
    constexpr int64_t kSleepNs = kNsPerSecond;
    std::vector<Anchor> anchors;
    for (const Record* record = begin; record < end; ++record) {
        if (record->messageAt == 0) continue;
        const auto wallNs = wallClockInKernelLine(textOf(evidence, *record));
        if (!wallNs) continue;
        const int64_t offset = *wallNs - record->utcNs;
        if (anchors.empty() || std::abs(offset - anchors.back().offsetNs) > kSleepNs) {
            anchors.push_back({record, offset});
        }
    }
    return anchors;
}

/** Offset by messages of the kernel that another log has with their time of day; the median. */
std::optional<int64_t> offsetByMessages(const Evidence& evidence, const Record* others,
                                        const Record* begin, const Record* end) {
    constexpr int64_t kTwice = std::numeric_limits<int64_t>::min();
    constexpr size_t kShortest = 12;
    std::unordered_map<std::string_view, int64_t> times;
    for (const Record* record = others; record < begin; ++record) {
        if (record->messageAt == 0 || record->pid != 0 || record->source == FileKind::KernelLog) {
            continue;
        }
        const std::string_view message = messageOf(evidence, *record);
        if (message.size() < kShortest) continue;
        const auto [place, isNew] = times.emplace(message, record->utcNs);
        if (!isNew) place->second = kTwice;
    }
    std::vector<int64_t> offsets;
    for (const Record* record = begin; record < end && !times.empty(); ++record) {
        const auto found = times.find(messageOf(evidence, *record));
        if (record->messageAt == 0 || found == times.end() || found->second == kTwice) continue;
        offsets.push_back(found->second - record->utcNs);
    }
    if (offsets.empty()) return std::nullopt;
    const auto middle = offsets.begin() + static_cast<ptrdiff_t>(offsets.size() / 2);
    std::nth_element(offsets.begin(), middle, offsets.end());
    return *middle;
}

/** A dump cannot have lines from after it: the smallest offset of all dumps is nearest. */
std::optional<int64_t> offsetByCollection(const Evidence& evidence, const Record* begin,
                                          const Record* end) {
    std::optional<int64_t> offset;
    for (const Record* record = begin; record < end; ++record) {
        const int64_t collected = evidence.files[record->place.file].collectedUtcNs;
        if (collected == 0 || record->messageAt == 0) continue;
        offset = std::min(offset.value_or(collected), collected - record->utcNs);
    }
    return offset;
}

}  // namespace

void anchorKernelClock(const Evidence& evidence, const Record* others, Record* begin, Record* end,
                       std::vector<Problem>& problems) {
    if (begin == end) return;
    std::vector<Anchor> anchors = anchorsInLog(evidence, begin, end);
    std::string how;
    bool isNote = true;
    if (!anchors.empty()) {
        how = fmt::format(
                "The kernel's clock is matched by times of day in the log itself ({}).",
                anchors.size() == 1 ? "one offset" : fmt::format("{} offsets", anchors.size()));
    } else if (const auto byMessages = offsetByMessages(evidence, others, begin, end)) {
        anchors.push_back({begin, *byMessages});
        how = "The kernel's clock is matched by kernel messages in the main log.";
    } else if (const auto byCollection = offsetByCollection(evidence, begin, end)) {
        anchors.push_back({begin, *byCollection});
        how = "The kernel's clock is matched by the time of collection: its lines can be earlier "
              "than they are shown, by seconds, and by more before the phone slept.";
    } else {
        const int64_t last = std::max_element(begin, end, [](const Record& a, const Record& b) {
                                 return a.utcNs < b.utcNs;
                             })->utcNs;
        const int64_t event = evidence.incident.utcNs;
        anchors.push_back({begin, event == 0 ? 0 : event - last});
        isNote = false;
        how = event == 0 ? "The kernel's clock cannot be matched: its times count from 1970."
                         : "The kernel's clock cannot be matched: its last line is shown at the "
                           "time of the event.";
    }
    problems.push_back({evidence.files[begin->place.file].name, std::move(how), isNote});

    auto next = anchors.begin() + 1;
    int64_t offset = anchors.front().offsetNs;
    for (Record* record = begin; record < end; ++record) {
        if (next != anchors.end() && record == next->from) {
            offset = next->offsetNs;
            ++next;
        }
        record->utcNs += offset;
    }
}

}  // namespace kaveldesk
