#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/store/Table.h"

namespace kaveldesk {

/** Which catches a question is about. */
struct Filter {
    std::optional<int64_t> sinceUtc;  // milliseconds; this time included
    std::optional<int64_t> untilUtc;  // this time not included
    std::optional<std::string> event;
    std::optional<std::string> process;
    std::optional<std::string> build;
    std::optional<std::string> fingerprint;
};

/** A part of a query and the values of its "?". */
struct SqlPart {
    std::string sql;
    std::vector<Value> parameters;

    void add(std::string_view text) { sql += text; }
    void add(std::string_view text, Value parameter) {
        sql += text;
        parameters.push_back(std::move(parameter));
    }
    void add(const SqlPart& part) {
        sql += part.sql;
        parameters.insert(parameters.end(), part.parameters.begin(), part.parameters.end());
    }
    /** "(?, ?)" for @p values. */
    void addList(const std::vector<std::string>& values);
};

/** " WHERE ..." for the table catches; empty if the filter is. */
SqlPart whereCatches(const Filter& filter);

/**
 * "(SELECT COLUMNS, catches, first_utc, last_utc ...)", which has the counts of the catches that
 * pass @p filter: from daily, and for parts of days from catches. @p columns are some of those that
 * both tables have.
 */
SqlPart countsOf(const Filter& filter, std::string_view columns);

}  // namespace kaveldesk
