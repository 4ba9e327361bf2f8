#include <fmt/core.h>

#include <algorithm>
#include <iterator>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/store/Schema.h"

namespace kaveldesk {
namespace {

constexpr size_t kLatestFindings = 1000;
constexpr size_t kLatestArchives = 20;
constexpr size_t kMostRows = 100;

Table findingsOf(Store& store, const Filter& filter) {
    SqlPart part;
    part.add(
            "SELECT kind, weight, count(*) AS n FROM findings WHERE catch_id IN "
            "(SELECT id FROM catches");
    part.add(whereCatches(filter));
    part.add(
            fmt::format(" ORDER BY utc DESC LIMIT {}) GROUP BY kind, weight "
                        "ORDER BY n DESC, kind, weight LIMIT {}",
                        kLatestFindings, kMostRows));
    return readTable(
            store,
            {part.sql, part.parameters, {{"kind"}, {"weight"}, {"findings", ValueType::Integer}}});
}

/** @p filter for the latest of @p days, which have @p least catches or all: engines then read these
 * days only. */
Filter latestOf(Filter filter, const Table& days, size_t least) {
    size_t catches = 0;
    auto day = days.rows.rbegin();
    for (; day != days.rows.rend() && catches < least; ++day) {
        catches += static_cast<size_t>(integerOf((*day)[1]));
    }
    if (day == days.rows.rbegin()) return filter;  // there are no days
    const int64_t start = integerOf((*std::prev(day))[0]);
    filter.sinceUtc = std::max(filter.sinceUtc.value_or(start), start);
    return filter;
}

}  // namespace

Table listCatches(Store& store, const Filter& filter, size_t limit, const ListPlace* behind) {
    SqlPart where = whereCatches(filter);
    if (behind != nullptr) {
        where.add(where.parameters.empty() ? " WHERE " : " AND ");
        where.add("utc_hour <= ?", startOf(behind->utc, kMsPerHour));
        where.add(" AND (utc < ?", behind->utc);
        where.add(" OR (utc = ?", behind->utc);
        where.add(" AND hash > ?))", behind->hash);
    }
    // By fingerprint, an engine has the catches in the order of utc, else in that of both.
    const char* const order = filter.fingerprint ? "utc DESC" : "utc_hour DESC, utc DESC";
    // An engine without an index for this reads only the last hours of all columns.
    SqlPart hours;
    hours.add("SELECT utc_hour FROM catches");
    hours.add(where);
    hours.add(fmt::format(" ORDER BY {} LIMIT {}", order, limit));
    const Table last = readTable(store, {hours.sql, hours.parameters, {{"utc_hour"}}});
    const std::vector<Column> columns = {{"utc", ValueType::Time},
                                         {"event"},
                                         {"process"},
                                         {"build"},
                                         {"broken", ValueType::Integer},
                                         {"fingerprint"},
                                         {"kind"},
                                         {"headline"},
                                         {"archive"},
                                         {"size", ValueType::Integer},
                                         {"hash"}};
    if (last.rows.empty()) return {columns, {}};
    SqlPart part;
    part.add(
            "SELECT utc, event, process, build, broken, fingerprint, kind, headline, archive, "
            "size, hash FROM catches");
    part.add(where);
    part.add(where.parameters.empty() ? " WHERE " : " AND ");
    part.add("utc_hour >= ?", last.rows.back()[0]);
    part.add(fmt::format(" ORDER BY {}, hash LIMIT {}", order, limit));
    return readTable(store, {part.sql, part.parameters, columns});
}

Table catchOf(Store& store, const std::string& hash) {
    const SchemaTable& catches = schemaTables().front();
    Query query;
    for (const SchemaColumn& column : catches.columns) {
        if (column.name == "id") continue;  // each engine has its own
        query.sql += fmt::format("{}{}", query.columns.empty() ? "SELECT " : ", ", column.name);
        query.columns.push_back({std::string(column.name), column.type});
    }
    query.sql += " FROM catches WHERE hash = ?";
    query.parameters = {hash};
    return readTable(store, query);
}

std::vector<NamedTable> show(Store& store, Filter filter, const std::string& fingerprint) {
    filter.fingerprint = fingerprint;
    Table facts = top(store, filter, TopBy::Fingerprint, 1);
    facts.columns.push_back({"headline"});
    for (Row& row : facts.rows) {
        row.emplace_back(knownFingerprints(store, {fingerprint})[fingerprint].headline);
    }
    Table days = trend(store, filter, TrendPer::Day);
    Table findings = findingsOf(store, latestOf(filter, days, kLatestFindings));
    Table archives = listCatches(store, latestOf(filter, days, kLatestArchives), kLatestArchives);
    return {{"fingerprint", std::move(facts)},
            {"builds", top(store, filter, TopBy::Build, kMostRows)},
            {"processes", top(store, filter, TopBy::Process, kMostRows)},
            {"events", top(store, filter, TopBy::Event, kMostRows)},
            {"days", std::move(days)},
            {"findings", std::move(findings)},
            {"archives", std::move(archives)}};
}

}  // namespace kaveldesk
