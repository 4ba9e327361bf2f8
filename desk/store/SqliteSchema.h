#pragma once

#include <string>

#include "desk/store/Sqlite.h"

namespace kaveldesk {

/** Version of the index in @p db: 0 if it is empty. Throws if it is another program's database, or
 * of a newer version. */
int sqliteVersion(SqliteDb& db);

/** Makes the tables, or brings those of an older version up to date, in one transaction. */
void migrateSqlite(SqliteDb& db, int toVersion);

/** "INSERT INTO TABLE (...) VALUES (?, ...)" with what happens to a row that is there already. */
std::string sqliteInsert(std::string_view table);

}  // namespace kaveldesk
