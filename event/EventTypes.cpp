#include "event/EventTypes.h"

#include <algorithm>
#include <limits>

namespace android::kavel {
namespace {

// Short names for the cells of the table.
constexpr int64_t kMinId = std::numeric_limits<int64_t>::min();
constexpr int64_t kMaxId = std::numeric_limits<int64_t>::max();

constexpr ExtraTextForm kDropped = ExtraTextForm::Dropped;
constexpr ExtraTextForm kWhole = ExtraTextForm::Whole;
constexpr ExtraTextForm kVersion = ExtraTextForm::ProcessVersion;
constexpr ExtraTextForm kVersionType = ExtraTextForm::ProcessVersionType;
constexpr ExtraTextForm kType = ExtraTextForm::ProcessType;

constexpr FolderSubject kSystem = FolderSubject::System;
constexpr FolderSubject kProcess = FolderSubject::Process;

constexpr StatisticRule kAll = StatisticRule::All;
constexpr StatisticRule kNewOnly = StatisticRule::NewOnly;

constexpr LogRule kCollected = LogRule::Collected;
constexpr LogRule kHangFiles = LogRule::HangFiles;
constexpr LogRule kNoLogs = LogRule::None;

constexpr CommercialPart kNeighbour = CommercialPart::Neighbour;
constexpr CommercialPart kAction = CommercialPart::Action;
constexpr CommercialPart kNoArchive = CommercialPart::None;

constexpr SystemTrace kNoTrace = {};
constexpr SystemTrace framework(int64_t code) {
    return {SystemTrace::Source::Framework, code};
}
constexpr SystemTrace native(int64_t code) {
    return {SystemTrace::Source::Native, code};
}

constexpr ExtraInfoFile kNoInfo = ExtraInfoFile::None;
constexpr ExtraInfoFile kAnr = ExtraInfoFile::Anr;
constexpr ExtraInfoFile kCrash = ExtraInfoFile::Crash;

constexpr const char* kNoFiles = nullptr;
constexpr const char* kUiTimeout = "/data/anr/kavel_UITimeout*";
constexpr const char* kNoFocus = "/data/anr/kavel_NoFocusWindow*";

}  // namespace

// Parsers, archives and tools on other machines rely on each of these cells.
// clang-format off
constexpr std::array<EventType, kEventTypeCount> kEventTypes = {{
//   ids                              name               extra text    subject   statistic logs        commercial  system trace           extraInfo.txt backtrace   traits
    {{0x1},                           "",                kWhole,       kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x2},                           "",                kWhole,       kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x3},                           "ANR",             kVersion,     kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kAnr,         kNoFiles,   kAppLogs},
    {{0x4},                           "UI_TIMEOUT",      kWhole,       kProcess, kAll,     kCollected, kNeighbour, framework(0x10004001), kNoInfo,      kUiTimeout, kNoTraits},
    {{0x5},                           "CRASH",           kVersionType, kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kCrash,       kNoFiles,   kAppLogs},
    {{0x101},                         "NO_FOCUS_WINDOW", kWhole,       kProcess, kAll,     kCollected, kNeighbour, framework(0x10004002), kNoInfo,      kNoFocus,   kAppLogs},
    {{0x103},                         "",                kWhole,       kProcess, kAll,     kCollected, kNeighbour, framework(0x10004007), kNoInfo,      kNoFiles,   kNoTraits},
    {{0x106},                         "",                kWhole,       kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x201},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, native(0x10004012),    kNoInfo,      kNoFiles,   kNoTraits},
    {{0x202},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, native(0x10004013),    kNoInfo,      kNoFiles,   kNoTraits},
    {{0x203},                         "",                kDropped,     kSystem,  kAll,     kNoLogs,    kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x204},                         "",                kDropped,     kSystem,  kAll,     kNoLogs,    kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x301},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, native(0x10004010),    kNoInfo,      kNoFiles,   kNoTraits},
    {{0x302},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, native(0x10004011),    kNoInfo,      kNoFiles,   kNoTraits},
    {{KAVEL_EVENT_SF_HANG_WARNING},   "SF_HANG_WARNING", kDropped,     kSystem,  kAll,     kHangFiles, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x402},                         "",                kDropped,     kSystem,  kAll,     kNoLogs,    kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kQuickPack},
    {{0x601},                         "CRASH_6",         kVersionType, kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kCrash,       kNoFiles,   kNoTraits},
    {{0x602},                         "ANR_6",           kVersion,     kProcess, kAll,     kCollected, kNeighbour, framework(0x1000400D), kAnr,         kNoFiles,   kNoTraits},
    {{0x701},                         "CRASH_7",         kVersionType, kProcess, kAll,     kCollected, kNeighbour, kNoTrace,              kCrash,       kNoFiles,   kNoTraits},
    {{0x702},                         "ANR_7",           kVersion,     kProcess, kAll,     kCollected, kNeighbour, framework(0x1000400B), kAnr,         kNoFiles,   kNoTraits},
    {{0x704},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, framework(0x1000400F), kNoInfo,      kNoFiles,   kNoTraits},
    {{0x705},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, framework(0x1000400E), kNoInfo,      kNoFiles,   kNoTraits},
    {{0x804},                         "",                kDropped,     kSystem,  kAll,     kNoLogs,    kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0xE01},                         "",                kDropped,     kSystem,  kAll,     kCollected, kNoArchive, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0xF01, 0xF05},                  "ABNORMAL_ACTION", kDropped,     kSystem,  kAll,     kCollected, kAction,    kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits},
    {{0x10000001},                    "ANR_RECOVERY",    kType,        kSystem,  kNewOnly, kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kRecoverable},
    {{0x10000002, kMaxId},            "RECOVERY",        kDropped,     kSystem,  kAll,     kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kRecoverable},
}};
constexpr EventType kOtherEventTypes =
    {{kMinId, kMaxId},                "",                kDropped,     kSystem,  kAll,     kCollected, kNeighbour, kNoTrace,              kNoInfo,      kNoFiles,   kNoTraits};
// clang-format on

namespace {

constexpr bool isSorted() {
    for (size_t i = 0; i < kEventTypes.size(); ++i) {
        if (kEventTypes[i].ids.first > kEventTypes[i].ids.last) return false;
        if (i > 0 && kEventTypes[i - 1].ids.last >= kEventTypes[i].ids.first) return false;
    }
    return true;
}
static_assert(isSorted(), "eventTypeOf() uses a binary search");

}  // namespace

const EventType& eventTypeOf(int64_t eventId) {
    const auto* row =
            std::partition_point(kEventTypes.begin(), kEventTypes.end(),
                                 [&](const EventType& type) { return type.ids.last < eventId; });
    return row != kEventTypes.end() && row->ids.contains(eventId) ? *row : kOtherEventTypes;
}

}  // namespace android::kavel
