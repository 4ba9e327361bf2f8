#pragma once

#include <map>
#include <string>
#include <string_view>

#include "desk/store/Sqlite.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/** The index in one file, in SQLite's WAL mode: readers do not wait for the writer. */
class SqliteStore : public Store {
  public:
    SqliteStore(const std::string& path, Access access);

    void insert(const Batch& batch) override;
    std::vector<bool> areKnown(const std::vector<std::string>& hashes) override;
    std::vector<bool> areUnchanged(const std::vector<SourceRow>& sources) override;
    void read(const Query& query, RowSink& sink) override;

  private:
    SqliteStatement& statement(const char* sql);
    SqliteStatement& insertInto(std::string_view table);
    bool isKnown(const std::string& hash);

    SqliteDb mDb;
    std::map<std::string_view, SqliteStatement> mStatements;  // by their SQL
    std::map<std::string_view, SqliteStatement> mInserts;     // by their table
};

}  // namespace kaveldesk
