#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/store/Table.h"

namespace kaveldesk {

// The tables of the index, from which each engine makes its own. A change is a new version: tables
// and columns that it adds have its number. Nothing is renamed or removed.

inline constexpr int kSchemaVersion = 2;

struct SchemaColumn {
    std::string_view name;
    ValueType type;
    std::string_view meaning;
    int since = 1;  // version
};

struct SchemaTable {
    std::string_view name;
    std::string_view key;  // columns that a row is unique by
    std::string_view meaning;
    std::vector<SchemaColumn> columns;
    int since = 1;
};

const std::vector<SchemaTable>& schemaTables();

/** Name of an engine's type for a value. */
using TypeName = std::string_view (*)(ValueType type);

/** "name TYPE, name TYPE": the columns that @p table has in @p version. */
std::string columnList(const SchemaTable& table, int version, TypeName typeName);

}  // namespace kaveldesk
