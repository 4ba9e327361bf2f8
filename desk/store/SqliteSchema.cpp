#include "desk/store/SqliteSchema.h"

#include <fmt/core.h>

#include <stdexcept>

#include "desk/store/Schema.h"

namespace kaveldesk {
namespace {

constexpr int64_t kApplicationId = 0x6b76646b;  // "kvdk"

// What SQLite needs in addition to the tables. The first index has the hours in order, and all that
// questions about less than a day filter and group by.
constexpr struct {
    int version;
    const char* sql;
} kSteps[] = {
        {1,
         "CREATE INDEX catches_by_time ON catches"
         " (utc_hour, utc, event, process, build, fingerprint, kind)"},
        {1, "CREATE UNIQUE INDEX catches_by_hash ON catches (hash)"},
        {1, "CREATE INDEX catches_by_fingerprint ON catches (fingerprint, utc)"},
        {2,
         "INSERT INTO daily SELECT utc_day, event, process, build, fingerprint, kind, count(*),"
         " min(utc), max(utc) FROM catches GROUP BY 1, 2, 3, 4, 5, 6"},
        {2,
         "CREATE INDEX daily_by_fingerprint ON daily"
         " (fingerprint, utc_day, event, process, build, catches, first_utc, last_utc)"},
};

// A row that is there already stays, unless there is another rule.
constexpr struct {
    std::string_view table;
    const char* rule;
} kRules[] = {
        {"sources",
         " ON CONFLICT DO UPDATE SET size = excluded.size,"
         " modified_ns = excluded.modified_ns, hash = excluded.hash"},
        {"daily",
         " ON CONFLICT DO UPDATE SET catches = catches + excluded.catches,"
         " first_utc = min(first_utc, excluded.first_utc),"
         " last_utc = max(last_utc, excluded.last_utc)"},
};

std::string_view typeName(ValueType type) {
    switch (type) {
        case ValueType::Text:
            return "TEXT NOT NULL DEFAULT ''";
        case ValueType::Real:
            return "REAL NOT NULL DEFAULT 0";
        case ValueType::Integer:
        case ValueType::Time:
            return "INTEGER NOT NULL DEFAULT 0";
    }
    return "";
}

void migrateOnce(SqliteDb& db, int version) {
    for (const SchemaTable& table : schemaTables()) {
        if (table.since == version) {
            db.run(fmt::format("CREATE TABLE {} ({}, PRIMARY KEY ({})){}", table.name,
                               columnList(table, version, typeName), table.key,
                               table.name == "catches" ? "" : " WITHOUT ROWID"));
            continue;
        }
        for (const SchemaColumn& column : table.columns) {
            if (column.since != version || table.since > version) continue;
            db.run(fmt::format("ALTER TABLE {} ADD COLUMN {} {}", table.name, column.name,
                               typeName(column.type)));
        }
    }
    for (const auto& step : kSteps) {
        if (step.version == version) db.run(step.sql);
    }
}

}  // namespace

int sqliteVersion(SqliteDb& db) {
    const auto version = db.integer("PRAGMA user_version");
    const bool isOurs = db.integer("PRAGMA application_id") == kApplicationId;
    if (!isOurs && (version != 0 || db.integer("SELECT count(*) FROM sqlite_schema") != 0)) {
        throw std::runtime_error("this is a database of another program");
    }
    if (version > kSchemaVersion) {
        throw std::runtime_error(
                fmt::format("the index has version {}, this program knows versions up to {}",
                            version, kSchemaVersion));
    }
    return static_cast<int>(version);
}

void migrateSqlite(SqliteDb& db, int toVersion) {
    SqliteTransaction transaction(db);
    for (int version = sqliteVersion(db) + 1; version <= toVersion; ++version) {
        migrateOnce(db, version);
    }
    db.run(fmt::format("PRAGMA application_id = {}", kApplicationId));
    db.run(fmt::format("PRAGMA user_version = {}", toVersion));
    transaction.commit();
}

std::string sqliteInsert(std::string_view name) {
    for (const SchemaTable& table : schemaTables()) {
        if (table.name != name) continue;
        std::string places;
        for (size_t i = 0; i < table.columns.size(); ++i) places += i == 0 ? "?" : ", ?";
        const auto noType = [](ValueType) { return std::string_view(); };
        std::string sql = fmt::format("INSERT INTO {} ({}) VALUES ({})", name,
                                      columnList(table, kSchemaVersion, noType), places);
        for (const auto& row : kRules) {
            if (row.table == name) return sql + row.rule;
        }
        return sql + " ON CONFLICT DO NOTHING";
    }
    throw std::logic_error("no such table");
}

}  // namespace kaveldesk
