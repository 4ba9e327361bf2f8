#include "desk/store/Schema.h"

#include <fmt/core.h>

namespace kaveldesk {
namespace {

constexpr ValueType kText = ValueType::Text;
constexpr ValueType kInteger = ValueType::Integer;
constexpr ValueType kReal = ValueType::Real;
constexpr ValueType kTime = ValueType::Time;

}  // namespace

const std::vector<SchemaTable>& schemaTables() {
    static const std::vector<SchemaTable> kTables = {
            {"catches",
             "id",
             "one row for each archive, broken ones included",
             {
                     {"id", kInteger, "id of the catch in these tables only"},
                     {"hash", kText, "SHA-256 of the file, hexadecimal"},
                     {"archive", kText, "name of the file"},
                     {"path", kText, "where it was when it was indexed first"},
                     {"size", kInteger, "bytes of the file"},
                     {"event", kText, "name of the event type"},
                     {"event_id", kInteger, "event type"},
                     {"process", kText, "process of the event"},
                     {"version", kText, "version of the process's package"},
                     {"type", kText, "event type of the extra info"},
                     {"build", kText, "the phone's OTA version, from the archive's name"},
                     {"utc", kTime, "time of the first event"},
                     {"utc_hour", kTime, "start of the hour of utc"},
                     {"utc_day", kTime, "start of the day of utc"},
                     {"mask", kInteger, "log-info bits of all events"},
                     {"broken", kInteger, "1 if the archive is damaged, ends early or is none"},
                     {"why", kText, "why it is broken"},
                     {"kind", kText, "kind of the verdict"},
                     {"headline", kText, "what most likely happened"},
                     {"enough", kInteger, "0 if there is not enough evidence for a cause"},
                     {"fingerprint", kText, "of the verdict; empty if there is none"},
             }},
            {"events",
             "catch_id, n",
             "all events of an archive; several if they shared a window",
             {
                     {"catch_id", kInteger, "id of the catch"},
                     {"n", kInteger, "number in the archive, from 1"},
                     {"name", kText, "name of the event type"},
                     {"event_id", kInteger, "event type"},
                     {"utc", kTime, "time of the event"},
                     {"mask", kInteger, "log-info bits"},
                     {"process", kText, "process"},
                     {"version", kText, "version of its package"},
                     {"type", kText, "event type of the extra text"},
                     {"pid", kInteger, "process id"},
                     {"uid", kInteger, "user id"},
             }},
            {"files",
             "catch_id, n",
             "the files of an archive",
             {
                     {"catch_id", kInteger, "id of the catch"},
                     {"n", kInteger, "number in the archive, from 1"},
                     {"name", kText, "path below the folder that all have in common"},
                     {"kind", kText, "what it holds: main, tombstone, ..."},
                     {"size", kInteger, "bytes, unpacked"},
                     {"round", kInteger, "number among the files of its command; 0: none"},
             }},
            {"findings",
             "catch_id, n",
             "the findings of the verdict, most important first",
             {
                     {"catch_id", kInteger, "id of the catch"},
                     {"n", kInteger, "number in the verdict, from 1"},
                     {"kind", kText, "stable name, such as anr.lock-cycle"},
                     {"weight", kText, "cause, contributing or observation"},
                     {"sentence", kText, "the finding"},
             }},
            {"statistics",
             "catch_id, name",
             "figures about a catch",
             {
                     {"catch_id", kInteger, "id of the catch"},
                     {"name", kText, "name of the figure"},
                     {"value", kReal, "its value"},
             }},
            {"fingerprints",
             "fingerprint",
             "what each fingerprint is about",
             {
                     {"fingerprint", kText, "16 hexadecimal digits"},
                     {"kind", kText, "kind of the verdict"},
                     {"signature", kText,
                      "the parts, with a bar between blanks after each but the last"},
                     {"headline", kText, "of one of its catches"},
             }},
            {"sources",
             "path",
             "the files that were read, so that unchanged ones are not read again",
             {
                     {"path", kText, "absolute path"},
                     {"size", kInteger, "bytes"},
                     {"modified_ns", kInteger, "time of change, nanoseconds since the epoch"},
                     {"hash", kText, "hash of the catch"},
             }},
            {"daily",
             "utc_day, event, process, build, fingerprint, kind",
             "counts of catches, for questions about many; sum(catches) over rows of any number",
             {
                     {"utc_day", kTime, "start of the day"},
                     {"event", kText, "as in catches"},
                     {"process", kText, "as in catches"},
                     {"build", kText, "as in catches"},
                     {"fingerprint", kText, "as in catches"},
                     {"kind", kText, "as in catches"},
                     {"catches", kInteger, "number of catches"},
                     {"first_utc", kTime, "the first of them"},
                     {"last_utc", kTime, "the last of them"},
             },
             2},
    };
    return kTables;
}

std::string columnList(const SchemaTable& table, int version, TypeName typeName) {
    std::string list;
    for (const SchemaColumn& column : table.columns) {
        if (column.since > version) continue;
        list += fmt::format("{}{} {}", list.empty() ? "" : ", ", column.name,
                            typeName(column.type));
    }
    return list;
}

}  // namespace kaveldesk
