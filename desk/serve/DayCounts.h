#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "desk/serve/Filters.h"
#include "desk/serve/Html.h"
#include "desk/store/Table.h"

namespace kaveldesk {

/** Catches of each day, without gaps. */
struct DayCounts {
    int64_t firstUtc = 0;  // start of the first day
    std::vector<int64_t> catches;

    int64_t endUtc() const;
};

/**
 * Empty counts of the last @p most days of @p trend before @p endUtc; no more than there are from
 * its first day on. Without days if there are none, for example if no time is known.
 */
DayCounts lastDays(const Table& trend, size_t most, int64_t endUtc);

/** Adds a row of a trend; a day that is not in @p days is left out. */
void addDay(DayCounts& days, int64_t utc, int64_t catches);

/** Bars, each with a link to the list of its catches, and the same as a table. */
Html dayChart(const DayCounts& days, const FilterTexts& texts);

/** A small drawing for a row of a table. */
Html sparkline(const DayCounts& days);

}  // namespace kaveldesk
