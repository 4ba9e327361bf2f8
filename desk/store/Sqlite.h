#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "desk/store/Table.h"

namespace kaveldesk {

/** A prepared statement. Functions throw std::runtime_error with the engine's message. */
class SqliteStatement {
  public:
    SqliteStatement(sqlite3* db, const std::string& sql);

    /** Binds @p values to the parameters, in their order, and starts the statement again. */
    SqliteStatement& bind(const std::vector<Value>& values);
    /** Goes to the next row. Returns false after the last. */
    bool step();
    /** Binds, runs to the end of the first row, and gives that; empty if there is none. */
    Row first(const std::vector<Value>& values);

    /** The value of the current row as the engine has it. */
    Value value(int column) const;
    int columnCount() const { return sqlite3_column_count(mHandle.get()); }
    std::string columnName(int column) const;
    int parameterCount() const { return sqlite3_bind_parameter_count(mHandle.get()); }

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
    };
    sqlite3* mDb;
    std::unique_ptr<sqlite3_stmt, Finalize> mHandle;
};

/** A connection to a database file. Waits up to a minute for other writers. */
class SqliteDb {
  public:
    /** @param flags  of sqlite3_open_v2 */
    SqliteDb(const std::string& path, int flags);

    /** Runs statements without parameters and rows. */
    void run(const std::string& sql);
    /** The first value of the first row of @p sql, as an integer; 0 if there is none. */
    int64_t integer(const std::string& sql);
    sqlite3* handle() const { return mHandle.get(); }

  private:
    struct Close {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Close> mHandle;
};

/** Everything between its making and commit() is stored as a whole or not at all. */
class SqliteTransaction {
  public:
    explicit SqliteTransaction(SqliteDb& db) : mDb(db) { mDb.run("BEGIN IMMEDIATE"); }
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    void commit() {
        mDb.run("COMMIT");
        mIsDone = true;
    }

  private:
    SqliteDb& mDb;
    bool mIsDone = false;
};

}  // namespace kaveldesk
