#pragma once

#include <functional>
#include <vector>

#include "desk/serve/Html.h"
#include "desk/store/Table.h"

namespace kaveldesk {

struct HtmlColumn {
    const char* title;
    std::function<Html(const Row&)> cell;
    bool isNumber = false;
};

Html htmlTable(const std::vector<Row>& rows, const std::vector<HtmlColumn>& columns);

// Columns with the value at an index.
HtmlColumn textColumn(const char* title, size_t index);
HtmlColumn countColumn(const char* title, size_t index);
HtmlColumn timeColumn(const char* title, size_t index);

}  // namespace kaveldesk
