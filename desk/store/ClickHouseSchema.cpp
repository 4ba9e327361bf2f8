#include "desk/store/ClickHouseSchema.h"

#include <fmt/core.h>

#include "desk/store/Schema.h"

namespace kaveldesk {
namespace {

std::string_view typeName(ValueType type) {
    switch (type) {
        case ValueType::Text:
            return "String";
        case ValueType::Real:
            return "Float64";
        case ValueType::Integer:
        case ValueType::Time:
            return "Int64";
    }
    return "";
}

std::string columnNames(const SchemaTable& table) {
    return columnList(table, kSchemaVersion, [](ValueType) { return std::string_view(); });
}

/** The order of the rows on disk. */
std::string_view orderOf(const SchemaTable& table) {
    if (table.name == "catches") return "utc_hour, event, process";
    if (table.name == "daily") return "fingerprint, utc_day";
    return table.key;
}

/** Which rows of a table count. @p id is its column with the catch's id, if it has one. */
std::string whichCount(const std::string& database, std::string_view id) {
    const std::string batches = fmt::format("IN (SELECT batch FROM {}.batches)", database);
    std::string condition = "batch " + batches;
    if (!id.empty()) {
        condition += fmt::format(
                " AND ({}, batch) NOT IN (SELECT id, loser FROM {}.twins WHERE winner {})", id,
                database, batches);
    }
    return condition;
}

std::string_view idColumnOf(const SchemaTable& table) {
    if (!hasMonth(table.name)) return {};
    return table.name == "catches" ? "id" : "catch_id";
}

}  // namespace

bool hasMonth(std::string_view table) {
    return table != "fingerprints";  // these stay as long as any catch
}

std::vector<std::string> clickHouseSchema(const std::string& database) {
    constexpr const char* kMonth = "month UInt32, ";
    constexpr const char* kByMonth = " PARTITION BY month";
    std::vector<std::string> statements;
    const auto addTable = [&](std::string_view name, const std::string& columns,
                              std::string_view engine, std::string_view order) {
        statements.push_back(
                fmt::format("CREATE TABLE IF NOT EXISTS {}.{} ({}) ENGINE = {} ORDER BY ({})",
                            database, name, columns, engine, order));
    };
    const auto addView = [&](std::string_view name, const std::string& select) {
        statements.push_back(
                fmt::format("CREATE VIEW IF NOT EXISTS {}.{} AS {}", database, name, select));
    };
    const std::string byMonth = std::string("MergeTree") + kByMonth;
    addTable("batches", "batch Int64", "MergeTree", "batch");
    addTable("twins", "id Int64, loser Int64, winner Int64", "MergeTree", "id");
    addTable("hashes_rows", std::string("id Int64, hash String, ") + kMonth + "batch Int64",
             byMonth, "id");
    for (const SchemaTable& table : schemaTables()) {
        const std::string columns = columnList(table, kSchemaVersion, typeName);
        if (table.name == "sources") {
            addTable("sources", columns, "ReplacingMergeTree", "path");
        } else {
            const bool isByMonth = hasMonth(table.name);
            addTable(fmt::format("{}_rows", table.name),
                     fmt::format("{}{}, {}batch Int64", columns,
                                 table.name == "daily" ? ", catch_id Int64" : "",
                                 isByMonth ? kMonth : ""),
                     isByMonth ? byMonth : "MergeTree", orderOf(table));
            addView(table.name,
                    fmt::format("SELECT {} FROM {}.{}_rows WHERE {}", columnNames(table), database,
                                table.name, whichCount(database, idColumnOf(table))));
        }
    }
    addTable("index_version", "version Int64", "MergeTree", "version");
    return statements;
}

std::string clickHouseInsert(const std::string& database, std::string_view table) {
    if (table == "sources") {
        return fmt::format("INSERT INTO {}.sources FORMAT TabSeparated\n", database);
    }
    return fmt::format("INSERT INTO {}.{}_rows FORMAT TabSeparated\n", database, table);
}

}  // namespace kaveldesk
