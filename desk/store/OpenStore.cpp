#include <fmt/core.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "desk/store/ClickHouseStore.h"
#include "desk/store/Schema.h"
#include "desk/store/SqliteSchema.h"
#include "desk/store/SqliteStore.h"
#include "desk/store/Store.h"

namespace kaveldesk {
namespace {

class TableSink : public RowSink {
  public:
    void begin(const std::vector<Column>& columns) override { table.columns = columns; }
    void add(const Row& row) override { table.rows.push_back(row); }

    Table table;
};

std::unique_ptr<Store> openSqlite(const std::string& path, Access access) {
    if (access == Access::Read) {
        if (!std::filesystem::exists(path)) {
            throw std::runtime_error("there is no index yet; 'kaveldesk index' makes it");
        }
        SqliteDb db(path, SQLITE_OPEN_READONLY);
        if (sqliteVersion(db) < kSchemaVersion) SqliteStore(path, Access::Write);
    }
    return std::make_unique<SqliteStore>(path, access);
}

}  // namespace

std::unique_ptr<Store> openStore(const std::string& place, Access access) {
    try {
        if (isClickHousePlace(place)) {
            return std::make_unique<ClickHouseStore>(clickHousePlaceOf(place), access);
        }
        return openSqlite(place, access);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}: {}", place, error.what()));
    }
}

std::string defaultPlace() {
    // An empty or relative value counts as none, as the XDG base directories ask for.
    const char* const data = std::getenv("XDG_DATA_HOME");
    const char* const home = std::getenv("HOME");
    std::filesystem::path base;
    if (data != nullptr && *data == '/') {
        base = data;
    } else if (home != nullptr && *home == '/') {
        base = std::filesystem::path(home) / ".local/share";
    } else {
        throw std::runtime_error("HOME is not set: name the index with --db");
    }
    return base / "kaveldesk/index.db";
}

Table readTable(Store& store, const Query& query) {
    TableSink sink;
    store.read(query, sink);
    return std::move(sink.table);
}

}  // namespace kaveldesk
