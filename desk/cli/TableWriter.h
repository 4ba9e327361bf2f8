#pragma once

#include <memory>
#include <string>

#include <CLI/App.hpp>

#include "desk/store/Table.h"

namespace kaveldesk {

/** How an answer is printed. At most one of them. */
struct TableFormat {
    bool isJson = false;
    bool isCsv = false;
};

/** Adds --json and --csv. */
void addFormatOptions(CLI::App& command, TableFormat& format);

/** Prints the rows of an answer to standard output, large ones without keeping them. */
class TableWriter : public RowSink {
  public:
    /** Call once after the last row. */
    virtual void end() = 0;
};

/**
 * As text: aligned columns, safe for a terminal. As CSV: RFC 4180 with line feeds. As JSON: one
 * array of objects. Times are UTC, in ISO 8601 but for text.
 */
std::unique_ptr<TableWriter> makeTableWriter(const TableFormat& format);

/** For a whole output of one table: as JSON, a document with "format" and "rows". */
std::unique_ptr<TableWriter> makeAnswerWriter(const TableFormat& format);

void printTable(const Table& table, TableWriter& writer);

/** Prints @p table as the whole output. */
void printAnswer(const Table& table, const TableFormat& format);

}  // namespace kaveldesk
