#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace android::kavel {

// What differs by event type. Each difference is a column of one table (kEventTypes).

/** The event types of a row: one id, or all from @c first to @c last. */
struct EventIds {
    int64_t first;
    int64_t last = first;

    constexpr bool contains(int64_t id) const { return first <= id && id <= last; }
};

/** Meaning of a report's extra text. */
enum class ExtraTextForm {
    Dropped,             ///< ignored
    Whole,               ///< one process name
    ProcessVersion,      ///< processName:P,packageVersion:V
    ProcessVersionType,  ///< processName:P,packageVersion:V,eventType:T
    ProcessType,         ///< processName:P,eventType:T
};

/** The process part in the name of the log folder. */
enum class FolderSubject {
    System,   ///< always "system"
    Process,  ///< the process of the report
};

/** The records whose statistic is uploaded. */
enum class StatisticRule {
    All,
    NewOnly,  ///< all but progress reports of a known situation: closeUser, dialog, end
};

/** The logs that are collected for a record. */
enum class LogRule {
    Collected,  ///< those that the log-info word selects
    HangFiles,  ///< only the hang files of the multimedia tooling, five minutes later
    None,
};

/** Part of an event in the archives of a commercial build. */
enum class CommercialPart {
    Neighbour,  ///< technical event: packed into the archive of an abnormal action near it
    Action,     ///< abnormal action of the user, such as a forced reboot: has its own archive
    None,       ///< technical event that is in no archive
};

/** The system trace that each catch requests in addition to the selected logs. */
struct SystemTrace {
    enum class Source { None, Framework, Native };

    Source source = Source::None;
    int64_t code = 0;  ///< only logged
};

/** What extraInfo.txt in the archive of a trail build says. */
enum class ExtraInfoFile {
    None,   ///< there is no such file
    Anr,    ///< process and version
    Crash,  ///< process, version and type
};

/** Further differences, as flags. */
enum EventTraits : uint32_t {
    kNoTraits = 0,
    kAppLogs = 1,      ///< reports about the messaging app add its own logs
    kQuickPack = 2,    ///< window of 5 s, and the pack does not wait for confirmed bits
    kRecoverable = 4,  ///< a recover id replaces the catch by a recovery action
};

/** One row of the table. */
struct EventType {
    EventIds ids;               ///< event types of this row
    std::string_view name;      ///< display name; empty if the meaning is unknown
    ExtraTextForm extraText;    ///< how the extra text is read
    FolderSubject subject;      ///< what log folder and archive are named after
    StatisticRule statistic;    ///< which records are uploaded
    LogRule logs;               ///< which logs are collected
    CommercialPart commercial;  ///< which archive it is part of on a commercial build
    SystemTrace trace;          ///< trace that is requested in addition to the selected logs
    ExtraInfoFile extraInfo;    ///< what extraInfo.txt says
    const char* backtrace;  ///< pattern of the framework's files that the pack moves in, or null
    uint32_t traits;        ///< EventTraits

    constexpr bool has(EventTraits trait) const { return (traits & trait) != 0; }
    constexpr bool isAbnormalAction() const { return commercial == CommercialPart::Action; }
};

/** The SurfaceFlinger hang warning. The log names it like this. */
inline constexpr int64_t KAVEL_EVENT_SF_HANG_WARNING = 0x401;

/** Number of rows in the table. */
inline constexpr size_t kEventTypeCount = 27;

/** The event types with special handling, lowest id first. */
extern const std::array<EventType, kEventTypeCount> kEventTypes;

/** The row of all other event types. */
extern const EventType kOtherEventTypes;

/** Returns the row of @p eventId. It is valid until the program ends. */
const EventType& eventTypeOf(int64_t eventId);

}  // namespace android::kavel
