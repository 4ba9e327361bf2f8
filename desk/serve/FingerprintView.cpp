#include <algorithm>
#include <string_view>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/serve/DayCounts.h"
#include "desk/serve/HtmlTable.h"
#include "desk/serve/Views.h"

namespace kaveldesk {
namespace {

constexpr size_t kDays = 366;

Html panel(const char* title, const Html& content) {
    return Html("<section class=\"panel\"><h2>{}</h2>{}</section>\n", title, content);
}

Html counts(const Table& table, const char* title) {
    return panel(title, htmlTable(table.rows, {textColumn("Value", 0), countColumn("Catches", 1),
                                               timeColumn("First", 2), timeColumn("Last", 3)}));
}

Html facts(const Row& row, const FilterTexts& texts) {
    constexpr std::string_view kBetween = " | ";
    Html signature;
    const std::string whole = textOf(row[6]);
    for (size_t from = 0; from < whole.size();) {
        const size_t end = std::min(whole.find(kBetween, from), whole.size());
        signature += Html("<li>{}</li>", whole.substr(from, end - from));
        from = end + kBetween.size();
    }
    return Html(
            "<section class=\"panel\"><div class=\"bar\"><span class=\"badge\">{}</span><h1>{}</h1>"
            "</div><p>{} catches in {} builds, from {} to {}. "
            "<a href=\"{}\">All its catches</a></p><ol class=\"signature "
            "mono\">{}</ol></section>\n",
            textOf(row[5]), textOf(row[7]), integerOf(row[1]), integerOf(row[4]),
            shownTime(integerOf(row[2])), shownTime(integerOf(row[3])),
            linkTo("/catches", texts, {{"fingerprint", textOf(row[0])}}), signature);
}

}  // namespace

View fingerprintView(const Visit& visit) {
    const std::string& fingerprint = visit.subject;
    const auto parts = show(visit.store, visit.filter, fingerprint);
    const Table& about = parts[0].table;
    if (about.rows.empty()) {
        return {"Fingerprint",
                Html("<p class=\"empty\">There is no such catch with the fingerprint {}.</p>",
                     fingerprint),
                false};
    }
    FilterTexts texts = visit.texts;
    texts["fingerprint"] = fingerprint;
    const Table& perDay = parts[4].table;
    DayCounts days = lastDays(perDay, kDays, endOfDays(visit));
    for (const Row& row : perDay.rows) addDay(days, integerOf(row[0]), integerOf(row[1]));
    Html content = facts(about.rows.front(), visit.texts);
    content += panel("Catches per day", dayChart(days, texts));
    content += panel("Latest archives", catchTable(parts[6].table));
    content += counts(parts[1].table, "Builds");
    content += counts(parts[2].table, "Processes");
    content += counts(parts[3].table, "Events");
    content += panel("Findings", htmlTable(parts[5].table.rows,
                                           {textColumn("Finding", 0), textColumn("Weight", 1),
                                            countColumn("Number", 2)}));
    return {"Fingerprint " + fingerprint, content};
}

}  // namespace kaveldesk
