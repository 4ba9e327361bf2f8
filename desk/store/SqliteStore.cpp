#include "desk/store/SqliteStore.h"

#include <stdexcept>

#include "desk/store/Schema.h"
#include "desk/store/SqliteSchema.h"
#include "desk/store/TableRows.h"

namespace kaveldesk {
namespace {

/** Lets a connection prepare nothing but SELECT as long as it exists. */
class OnlySelect {
  public:
    explicit OnlySelect(sqlite3* db) : mDb(db) { sqlite3_set_authorizer(db, judge, nullptr); }
    ~OnlySelect() { sqlite3_set_authorizer(mDb, nullptr, nullptr); }
    OnlySelect(const OnlySelect&) = delete;
    OnlySelect& operator=(const OnlySelect&) = delete;

  private:
    static int judge(void*, int action, const char*, const char* function, const char*,
                     const char*) {
        switch (action) {
            case SQLITE_SELECT:
            case SQLITE_READ:
            case SQLITE_RECURSIVE:
                return SQLITE_OK;
            case SQLITE_FUNCTION:
                return function == std::string_view("load_extension") ? SQLITE_DENY : SQLITE_OK;
            default:
                return SQLITE_DENY;
        }
    }
    sqlite3* mDb;
};

std::vector<Column> columnsOf(const Query& query, const SqliteStatement& statement) {
    if (!query.columns.empty()) return query.columns;
    std::vector<Column> columns;
    columns.reserve(static_cast<size_t>(statement.columnCount()));
    for (int i = 0; i < statement.columnCount(); ++i) {
        columns.push_back({statement.columnName(i), ValueType::Text});
    }
    return columns;
}

}  // namespace

SqliteStore::SqliteStore(const std::string& path, Access access)
      : mDb(path, access == Access::Read ? SQLITE_OPEN_READONLY
                                         : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) {
    if (access == Access::Read) {
        mDb.run("PRAGMA query_only = 1");
        return;
    }
    if (sqliteVersion(mDb) < kSchemaVersion) {
        mDb.run("PRAGMA journal_mode = WAL");
        migrateSqlite(mDb, kSchemaVersion);
    }
    // After a power failure the last batches can be missing: they are indexed again.
    mDb.run("PRAGMA synchronous = NORMAL; PRAGMA cache_size = -65536");
}

SqliteStatement& SqliteStore::statement(const char* sql) {
    const auto found = mStatements.find(sql);
    if (found != mStatements.end()) return found->second;
    return mStatements.try_emplace(sql, mDb.handle(), sql).first->second;
}

SqliteStatement& SqliteStore::insertInto(std::string_view table) {
    const auto found = mInserts.find(table);
    if (found != mInserts.end()) return found->second;
    return mInserts.try_emplace(table, mDb.handle(), sqliteInsert(table)).first->second;
}

bool SqliteStore::isKnown(const std::string& hash) {
    return !statement("SELECT 1 FROM catches WHERE hash = ?").first({hash}).empty();
}

void SqliteStore::insert(const Batch& batch) {
    SqliteTransaction transaction(mDb);
    // Rows of a batch are next to each other in each table: ids that come from hashes would spread
    // them over all of the file.
    int64_t id = mDb.integer("SELECT max(id) FROM catches");
    for (const CatchRow& row : batch.catches) {
        if (isKnown(row.hash)) continue;
        ++id;
        for (const TableRows& table : tableRowsOf(row, id)) {
            SqliteStatement& insert = insertInto(table.table);
            for (const Row& values : table.rows) insert.first(values);
        }
    }
    for (const SourceRow& source : batch.sources) insertInto("sources").first(valuesOf(source));
    transaction.commit();
}

std::vector<bool> SqliteStore::areKnown(const std::vector<std::string>& hashes) {
    std::vector<bool> known;
    known.reserve(hashes.size());
    for (const std::string& hash : hashes) known.push_back(isKnown(hash));
    return known;
}

std::vector<bool> SqliteStore::areUnchanged(const std::vector<SourceRow>& sources) {
    SqliteStatement& find =
            statement("SELECT 1 FROM sources WHERE path = ? AND size = ? AND modified_ns = ?");
    std::vector<bool> unchanged;
    unchanged.reserve(sources.size());
    for (const SourceRow& source : sources) {
        unchanged.push_back(!find.first({source.path, source.size, source.modifiedNs}).empty());
    }
    return unchanged;
}

void SqliteStore::read(const Query& query, RowSink& sink) {
    const OnlySelect onlySelect(mDb.handle());
    SqliteStatement statement(mDb.handle(), query.sql);
    if (statement.parameterCount() != static_cast<int>(query.parameters.size())) {
        throw std::runtime_error("a parameter has no value");
    }
    statement.bind(query.parameters);
    sink.begin(columnsOf(query, statement));
    Row row(static_cast<size_t>(statement.columnCount()));
    while (statement.step()) {
        for (size_t i = 0; i < row.size(); ++i) row[i] = statement.value(static_cast<int>(i));
        sink.add(row);
    }
}

}  // namespace kaveldesk
