#pragma once

#include <cstdint>
#include <string>

#include "desk/serve/Filters.h"
#include "desk/serve/Html.h"
#include "desk/store/Rows.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/** What a request asks for. */
struct Visit {
    Store& store;
    std::string subject;  // what follows the name of the view in the path
    FilterTexts texts;
    Filter filter;       // of the texts
    std::string behind;  // place of a list, from a link of the list
    int64_t nowUtc = 0;
};

/** The part of a page that belongs to its view. */
struct View {
    std::string title;
    Html content;
    bool isFound = true;
};

// Each throws what Store::read() throws, and std::invalid_argument for a request that makes no
// sense.

View overview(const Visit& visit);
View fingerprintView(const Visit& visit);
View catchesView(const Visit& visit);

/** End of the days that a chart can have: a phone with a wrong clock does not move them. */
inline int64_t endOfDays(const Visit& visit) {
    return startOf(visit.nowUtc, kMsPerDay) + 2 * kMsPerDay;
}

/** A list of catches with links to their reports, as the answer of listCatches() has them. */
Html catchTable(const Table& catches);

}  // namespace kaveldesk
