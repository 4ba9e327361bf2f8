#include "desk/serve/HtmlTable.h"

#include "desk/questions/Known.h"
#include "desk/serve/Filters.h"

namespace kaveldesk {

Html htmlTable(const std::vector<Row>& rows, const std::vector<HtmlColumn>& columns) {
    Html head;
    for (const HtmlColumn& column : columns) head += Html("<th>{}</th>", column.title);
    Html body;
    for (const Row& row : rows) {
        Html cells;
        for (const HtmlColumn& column : columns) {
            cells += Html("<td{}>{}</td>", column.isNumber ? Html(" class=\"value\"") : Html(),
                          column.cell(row));
        }
        body += Html("<tr>{}</tr>\n", cells);
    }
    return Html(
            "<div class=\"scroll\"><table><thead><tr>{}</tr></thead>\n<tbody>{}</tbody></table>"
            "</div>\n",
            head, body);
}

HtmlColumn textColumn(const char* title, size_t index) {
    return {title, [index](const Row& row) { return Html("{}", textOf(row[index])); }};
}

HtmlColumn countColumn(const char* title, size_t index) {
    return {title, [index](const Row& row) { return Html("{}", integerOf(row[index])); }, true};
}

HtmlColumn timeColumn(const char* title, size_t index) {
    return {title, [index](const Row& row) {
                return Html("<time>{}</time>", shownTime(integerOf(row[index])));
            }};
}

}  // namespace kaveldesk
