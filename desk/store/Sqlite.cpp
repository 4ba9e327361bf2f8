#include "desk/store/Sqlite.h"

#include <fmt/core.h>

#include <stdexcept>

namespace kaveldesk {
namespace {

void check(sqlite3* db, int status) {
    if (status != SQLITE_OK) throw std::runtime_error(fmt::format("{}", sqlite3_errmsg(db)));
}

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* db, const std::string& sql) : mDb(db) {
    sqlite3_stmt* handle = nullptr;
    const char* rest = nullptr;
    check(db, sqlite3_prepare_v3(db, sql.c_str(), static_cast<int>(sql.size()) + 1,
                                 SQLITE_PREPARE_PERSISTENT, &handle, &rest));
    mHandle.reset(handle);
    if (handle == nullptr) throw std::runtime_error("there is no statement");
    // What follows the first statement must be empty, or only comments.
    sqlite3_stmt* second = nullptr;
    check(db, sqlite3_prepare_v3(db, rest, -1, 0, &second, nullptr));
    if (second == nullptr) return;
    sqlite3_finalize(second);
    throw std::runtime_error("there is more than one statement");
}

SqliteStatement& SqliteStatement::bind(const std::vector<Value>& values) {
    sqlite3_stmt* const handle = mHandle.get();
    sqlite3_reset(handle);
    for (size_t i = 0; i < values.size(); ++i) {
        const int place = static_cast<int>(i) + 1;
        const Value& value = values[i];
        int status = SQLITE_OK;
        if (const auto* text = std::get_if<std::string>(&value)) {
            status = sqlite3_bind_text64(handle, place, text->data(), text->size(),
                                         SQLITE_TRANSIENT, SQLITE_UTF8);
        } else if (const auto* integer = std::get_if<int64_t>(&value)) {
            status = sqlite3_bind_int64(handle, place, *integer);
        } else if (const auto* real = std::get_if<double>(&value)) {
            status = sqlite3_bind_double(handle, place, *real);
        } else {
            status = sqlite3_bind_null(handle, place);
        }
        check(mDb, status);
    }
    return *this;
}

bool SqliteStatement::step() {
    const int status = sqlite3_step(mHandle.get());
    if (status == SQLITE_ROW) return true;
    if (status != SQLITE_DONE) check(mDb, sqlite3_reset(mHandle.get()));
    sqlite3_reset(mHandle.get());
    return false;
}

Row SqliteStatement::first(const std::vector<Value>& values) {
    Row row;
    if (bind(values).step()) {
        for (int i = 0; i < columnCount(); ++i) row.push_back(value(i));
    }
    sqlite3_reset(mHandle.get());  // an open row would keep the writer's log from being emptied
    return row;
}

Value SqliteStatement::value(int column) const {
    switch (sqlite3_column_type(mHandle.get(), column)) {
        case SQLITE_NULL:
            return {};
        case SQLITE_INTEGER:
            return int64_t{sqlite3_column_int64(mHandle.get(), column)};
        case SQLITE_FLOAT:
            return sqlite3_column_double(mHandle.get(), column);
        default:
            break;
    }
    const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(mHandle.get(), column));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(mHandle.get(), column));
    return bytes == nullptr ? std::string() : std::string(bytes, size);
}

std::string SqliteStatement::columnName(int column) const {
    const char* const name = sqlite3_column_name(mHandle.get(), column);
    return name == nullptr ? "" : name;
}

SqliteDb::SqliteDb(const std::string& path, int flags) {
    sqlite3* handle = nullptr;
    const int status = sqlite3_open_v2(path.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    mHandle.reset(handle);
    if (status != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errstr(status));
    }
    constexpr int kWaitMs = 60'000;
    sqlite3_busy_timeout(handle, kWaitMs);
}

void SqliteDb::run(const std::string& sql) {
    check(mHandle.get(), sqlite3_exec(mHandle.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

int64_t SqliteDb::integer(const std::string& sql) {
    const Row row = SqliteStatement(mHandle.get(), sql).first({});
    const auto* const value = row.empty() ? nullptr : std::get_if<int64_t>(row.data());
    return value != nullptr ? *value : 0;
}

SqliteTransaction::~SqliteTransaction() {
    // Some errors have ended the transaction already.
    if (!mIsDone && sqlite3_get_autocommit(mDb.handle()) == 0) {
        sqlite3_exec(mDb.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

}  // namespace kaveldesk
