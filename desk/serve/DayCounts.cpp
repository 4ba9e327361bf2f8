#include "desk/serve/DayCounts.h"

#include <algorithm>
#include <string>

#include "desk/questions/Known.h"
#include "desk/store/Rows.h"

namespace kaveldesk {
namespace {

int64_t mostOf(const DayCounts& days) {
    int64_t most = 1;
    for (const int64_t catches : days.catches) most = std::max(most, catches);
    return most;
}

/** Height of a bar; one catch can be seen. */
int64_t heightOf(int64_t catches, int64_t most, int64_t height) {
    return catches == 0 ? 0 : std::max<int64_t>(1, catches * height / most);
}

}  // namespace

int64_t DayCounts::endUtc() const {
    return firstUtc + static_cast<int64_t>(catches.size()) * kMsPerDay;
}

DayCounts lastDays(const Table& trend, size_t most, int64_t endUtc) {
    int64_t first = 0;
    int64_t last = 0;
    for (const Row& row : trend.rows) {
        const int64_t utc = integerOf(row[0]);
        if (utc <= 0 || utc >= endUtc) continue;
        if (first == 0) first = utc;
        last = utc;
    }
    DayCounts days;
    if (first == 0) return days;
    days.firstUtc = std::max(first, last - (static_cast<int64_t>(most) - 1) * kMsPerDay);
    days.catches.resize(static_cast<size_t>((last - days.firstUtc) / kMsPerDay) + 1);
    return days;
}

void addDay(DayCounts& days, int64_t utc, int64_t catches) {
    if (utc < days.firstUtc || utc >= days.endUtc()) return;
    days.catches[static_cast<size_t>((utc - days.firstUtc) / kMsPerDay)] += catches;
}

Html dayChart(const DayCounts& days, const FilterTexts& texts) {
    if (days.catches.empty()) return Html("<p class=\"dim\">No time is known.</p>");
    constexpr int64_t kWidth = 10;
    constexpr int64_t kHeight = 120;
    const int64_t most = mostOf(days);
    Html bars;
    Html rows;
    for (size_t i = 0; i < days.catches.size(); ++i) {
        const auto at = static_cast<int64_t>(i);
        const int64_t catches = days.catches[i];
        const int64_t height = heightOf(catches, most, kHeight);
        const std::string day = shownDay(days.firstUtc + at * kMsPerDay);
        const std::string next = shownDay(days.firstUtc + (at + 1) * kMsPerDay);
        const std::string link = linkTo("/catches", texts, {{"since", day}, {"until", next}});
        // The table below has the links for the keyboard.
        bars += Html(
                "<a href=\"{}\" tabindex=\"-1\"><rect class=\"hit\" x=\"{}\" y=\"0\" width=\"{}\" "
                "height=\"{}\"><title>{}: {}</title></rect>"
                "<rect class=\"bar\" x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"/></a>",
                link, at * kWidth, kWidth, kHeight, day, catches, at * kWidth + 1, kHeight - height,
                kWidth - 2, height);
        if (catches == 0) continue;
        rows += Html("<tr><td><a href=\"{}\">{}</a></td><td class=\"value\">{}</td></tr>\n", link,
                     day, catches);
    }
    return Html(
            "<svg class=\"days\" viewBox=\"0 0 {} {}\" preserveAspectRatio=\"none\" role=\"img\" "
            "aria-label=\"Catches of each day\">{}</svg>\n"
            "<p class=\"axis dim\"><span>{}</span><span>at most {} a "
            "day</span><span>{}</span></p>\n"
            "<details><summary>Days as a table</summary><table><thead><tr><th>Day</th>"
            "<th>Catches</th></tr></thead><tbody>{}</tbody></table></details>\n",
            static_cast<int64_t>(days.catches.size()) * kWidth, kHeight, bars,
            shownDay(days.firstUtc), most, shownDay(days.endUtc() - kMsPerDay), rows);
}

Html sparkline(const DayCounts& days) {
    constexpr int64_t kHeight = 20;
    const int64_t most = mostOf(days);
    std::string path;
    for (size_t i = 0; i < days.catches.size(); ++i) {
        const int64_t height = heightOf(days.catches[i], most, kHeight);
        if (height > 0) path += fmt::format("M{} {}v-{}h1v{}z", i, kHeight, height, height);
    }
    return Html(
            "<svg class=\"spark\" viewBox=\"0 0 {} {}\" preserveAspectRatio=\"none\" "
            "aria-hidden=\"true\"><path d=\"{}\"/></svg>",
            days.catches.size(), kHeight, path);
}

}  // namespace kaveldesk
