#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/store/Table.h"

namespace kaveldesk {

// ClickHouse's texts: literals, and rows as TabSeparated. In these all bytes stay as they are; the
// JSON formats replace what is not UTF-8.

/** @p sql with each "?" replaced by the literal of its value; without values, @p sql as it is.
 * Throws std::runtime_error if their numbers differ. */
std::string withLiterals(const std::string& sql, const std::vector<Value>& values);

/** Adds @p row as a line without its end. */
void appendTabSeparated(std::string& text, const Row& row);

/** Reads the pieces of an answer in TabSeparatedWithNamesAndTypes. Has one line in memory. Throws
 * std::runtime_error if the answer has another form. */
class TabSeparatedReader {
  public:
    /** @param columns  of the answer; if empty, those of its head */
    TabSeparatedReader(const std::vector<Column>& columns, RowSink& sink)
          : mColumns(columns), mSink(sink) {}

    void add(std::string_view piece);
    /** Call it after the last piece. */
    void end() const;

  private:
    void addLine(std::string_view line);

    std::vector<Column> mColumns;
    RowSink& mSink;
    std::vector<std::string> mNames;
    std::vector<char> mKinds;  // of the values: i(nteger), f(loat), t(ext)
    std::string mRest;         // a line whose end is not there yet
    Row mRow;
};

}  // namespace kaveldesk
