#pragma once

#include <string_view>
#include <vector>

#include "desk/store/Rows.h"
#include "desk/store/Table.h"

namespace kaveldesk {

/** Rows of one table, values in the order of its columns in schemaTables(). */
struct TableRows {
    std::string_view table;
    std::vector<Row> rows;
};

/**
 * What @p row is in the tables: catches, their child tables, fingerprints (no row without a
 * fingerprint), and daily with a count of 1. @p id is the catch's id.
 */
std::vector<TableRows> tableRowsOf(const CatchRow& row, int64_t id);

Row valuesOf(const SourceRow& source);

}  // namespace kaveldesk
