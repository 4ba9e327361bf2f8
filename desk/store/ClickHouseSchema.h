#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

// A table of the index is a view in ClickHouse: of TABLE_rows, the rows whose batch counts. "month"
// of a row is that of its catch as YYYYMM (0: not known), by which old rows are dropped. daily_rows
// has a row for each catch, with its id: no count can be in doubt after an error.

/** The statements that make the index, in their order. They leave alone what is there already. */
std::vector<std::string> clickHouseSchema(const std::string& database);

/** "INSERT INTO ... FORMAT TabSeparated" and the end of the line, for rows of @p table as in
 * schemaTables(), each followed by the catch's id in daily, by its month, if the table has that,
 * and by its batch. */
std::string clickHouseInsert(const std::string& database, std::string_view table);

/** Whether rows of @p table have a month. */
bool hasMonth(std::string_view table);

}  // namespace kaveldesk
