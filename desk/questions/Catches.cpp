#include <fmt/core.h>

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
    SqlPart part;
    part.add(
            "SELECT utc, event, process, build, broken, fingerprint, kind, headline, archive, "
            "size, hash FROM catches");
    part.add(where);
    // An engine without an index for this reads only the last hours of all these columns.
    part.add(where.parameters.empty() ? " WHERE " : " AND ");
    part.add("utc_hour >= (SELECT min(h) FROM (SELECT utc_hour AS h FROM catches");
    part.add(where);
    part.add(fmt::format(" ORDER BY {} LIMIT {})) ORDER BY {}, hash LIMIT {}", order, limit, order,
                         limit));
    return readTable(store, {part.sql,
                             part.parameters,
                             {{"utc", ValueType::Time},
                              {"event"},
                              {"process"},
                              {"build"},
                              {"broken", ValueType::Integer},
                              {"fingerprint"},
                              {"kind"},
                              {"headline"},
                              {"archive"},
                              {"size", ValueType::Integer},
                              {"hash"}}});
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
    return {{"fingerprint", std::move(facts)},
            {"builds", top(store, filter, TopBy::Build, kMostRows)},
            {"processes", top(store, filter, TopBy::Process, kMostRows)},
            {"events", top(store, filter, TopBy::Event, kMostRows)},
            {"days", trend(store, filter, TrendPer::Day)},
            {"findings", findingsOf(store, filter)},
            {"archives", listCatches(store, filter, kLatestArchives)}};
}

}  // namespace kaveldesk
