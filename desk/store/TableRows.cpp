#include "desk/store/TableRows.h"

namespace kaveldesk {
namespace {

/** One row for each of @p values, by @p row, which also gets the value's number from 1. */
template <typename T, typename Make>
std::vector<Row> rowsOf(const std::vector<T>& values, Make row) {
    std::vector<Row> rows;
    rows.reserve(values.size());
    for (const T& value : values) rows.push_back(row(value, int64_t(rows.size()) + 1));
    return rows;
}

Value flag(bool value) {
    return int64_t{value ? 1 : 0};
}

}  // namespace

std::vector<TableRows> tableRowsOf(const CatchRow& c, int64_t id) {
    const int64_t hour = startOf(c.utc, kMsPerHour);
    const int64_t day = startOf(c.utc, kMsPerDay);
    std::vector<TableRows> tables = {
            {"catches", {{id,           c.hash,  c.archive,       c.path,
                          c.size,       c.event, c.eventId,       c.process,
                          c.version,    c.type,  c.build,         c.utc,
                          hour,         day,     int64_t{c.mask}, flag(c.isBroken),
                          c.why,        c.kind,  c.headline,      flag(c.isEnough),
                          c.fingerprint}}},
            {"events", rowsOf(c.events,
                              [&](const EventRow& e, int64_t n) {
                                  return Row{id,
                                             n,
                                             e.name,
                                             e.eventId,
                                             e.utc,
                                             int64_t{e.mask},
                                             e.process,
                                             e.version,
                                             e.type,
                                             int64_t{e.pid},
                                             int64_t{e.uid}};
                              })},
            {"files", rowsOf(c.files,
                             [&](const FileRow& f, int64_t n) {
                                 return Row{id, n, f.name, f.kind, f.size, int64_t{f.round}};
                             })},
            {"findings", rowsOf(c.findings,
                                [&](const FindingRow& f, int64_t n) {
                                    return Row{id, n, f.kind, f.weight, f.sentence};
                                })},
            {"statistics", rowsOf(c.statistics,
                                  [&](const StatisticRow& s, int64_t) {
                                      return Row{id, s.name, s.value};
                                  })},
            {"daily",
             {{day, c.event, c.process, c.build, c.fingerprint, c.kind, int64_t{1}, c.utc,
               c.utc}}}};
    if (!c.fingerprint.empty()) {
        tables.push_back({"fingerprints", {{c.fingerprint, c.kind, c.signature, c.headline}}});
    }
    return tables;
}

Row valuesOf(const SourceRow& source) {
    return {source.path, source.size, source.modifiedNs, source.hash};
}

}  // namespace kaveldesk
