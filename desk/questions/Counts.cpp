#include <fmt/core.h>

#include <algorithm>
#include <iterator>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"

namespace kaveldesk {
namespace {

constexpr struct {
    TopBy by;
    const char* column;
} kColumns[] = {{TopBy::Process, "process"},
                {TopBy::Event, "event"},
                {TopBy::Fingerprint, "fingerprint"},
                {TopBy::Build, "build"}};

std::string columnOf(TopBy by) {
    for (const auto& row : kColumns) {
        if (row.by == by) return row.column;
    }
    return {};
}

/** The counts of each value of @p column, as @p rest says which and in what order. */
Table countBy(Store& store, const Filter& filter, const std::string& column, const SqlPart& rest) {
    const bool isBuild = column == "build";
    SqlPart part;
    part.add(
            fmt::format("SELECT {}, sum(catches) AS n, min(first_utc) AS t1, max(last_utc) AS t2, "
                        "{} AS b FROM ",
                        column, isBuild ? "1" : "count(DISTINCT build)"));
    part.add(countsOf(filter, isBuild ? column : column + ", build"));
    part.add(rest);
    return readTable(store, {part.sql,
                             part.parameters,
                             {{column},
                              {"catches", ValueType::Integer},
                              {"first", ValueType::Time},
                              {"last", ValueType::Time},
                              {"builds", ValueType::Integer}}});
}

}  // namespace

Table countFingerprints(Store& store, const Filter& filter,
                        const std::vector<std::string>& fingerprints) {
    constexpr size_t kAtOnce = 500;  // engines limit the parameters of a query
    Table all;
    for (size_t start = 0; start < fingerprints.size(); start += kAtOnce) {
        const size_t end = std::min(start + kAtOnce, fingerprints.size());
        SqlPart rest;
        rest.add(" WHERE fingerprint IN ");
        rest.addList({fingerprints.begin() + static_cast<ptrdiff_t>(start),
                      fingerprints.begin() + static_cast<ptrdiff_t>(end)});
        rest.add(" GROUP BY fingerprint");
        Table some = countBy(store, filter, "fingerprint", rest);
        all.columns = some.columns;
        std::move(some.rows.begin(), some.rows.end(), std::back_inserter(all.rows));
    }
    return all;
}

Table top(Store& store, const Filter& filter, TopBy by, size_t limit) {
    const std::string column = columnOf(by);
    SqlPart rest;
    rest.add(fmt::format(" GROUP BY {} ORDER BY n DESC, {} LIMIT {}", column, column, limit));
    Table table = countBy(store, filter, column, rest);
    if (by != TopBy::Fingerprint) return table;

    std::vector<std::string> fingerprints;
    for (const Row& row : table.rows) fingerprints.push_back(textOf(row[0]));
    auto known = knownFingerprints(store, fingerprints);
    table.columns.push_back({"kind"});
    table.columns.push_back({"signature"});
    for (Row& row : table.rows) {
        const KnownFingerprint& about = known[textOf(row[0])];
        row.emplace_back(about.kind);
        row.emplace_back(about.signature);
    }
    return table;
}

Table trend(Store& store, const Filter& filter, TrendPer per) {
    SqlPart part;
    if (per == TrendPer::Day) {
        part.add("SELECT utc_day, sum(catches) AS n FROM ");
        part.add(countsOf(filter, "utc_day"));
        part.add(" GROUP BY utc_day ORDER BY utc_day");
    } else {
        part.add("SELECT utc_hour, count(*) AS n FROM catches");
        part.add(whereCatches(filter));
        part.add(" GROUP BY utc_hour ORDER BY utc_hour");
    }
    return readTable(store, {part.sql,
                             part.parameters,
                             {{"utc", ValueType::Time}, {"catches", ValueType::Integer}}});
}

Table trendOf(Store& store, const Filter& filter, const std::vector<std::string>& fingerprints) {
    const std::vector<Column> columns = {
            {"fingerprint"}, {"utc", ValueType::Time}, {"catches", ValueType::Integer}};
    if (fingerprints.empty()) return {columns, {}};
    SqlPart part;
    part.add("SELECT fingerprint, utc_day, sum(catches) AS n FROM ");
    part.add(countsOf(filter, "fingerprint, utc_day"));
    part.add(" WHERE fingerprint IN ");
    part.addList(fingerprints);
    part.add(" GROUP BY fingerprint, utc_day ORDER BY fingerprint, utc_day");
    return readTable(store, {part.sql, part.parameters, columns});
}

}  // namespace kaveldesk
