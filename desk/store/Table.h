#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace kaveldesk {

/** What a column holds. A time is milliseconds since the epoch, UTC; 0 if it is unknown. */
enum class ValueType : uint8_t { Text, Integer, Real, Time };

/** One value: nothing, an integer or a time, a number, a text of any bytes. */
using Value = std::variant<std::monostate, int64_t, double, std::string>;

struct Column {
    std::string name;
    ValueType type = ValueType::Text;
};

using Row = std::vector<Value>;

/** The answer to a question. Each row has as many values as there are columns. */
struct Table {
    std::vector<Column> columns;
    std::vector<Row> rows;
};

/** A question to a store: one SELECT whose values are bound to its "?", in their order. */
struct Query {
    std::string sql;
    std::vector<Value> parameters;
    /** Of the answer, in the order of the SELECT. Empty: names and types come from the engine. */
    std::vector<Column> columns;
};

/** Takes an answer row by row, so that a large one needs no memory. */
class RowSink {
  public:
    virtual ~RowSink() = default;
    /** Called once, before the first row. */
    virtual void begin(const std::vector<Column>& columns) = 0;
    virtual void add(const Row& row) = 0;
};

}  // namespace kaveldesk
