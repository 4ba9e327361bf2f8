#include <algorithm>
#include <map>
#include <vector>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/serve/DayCounts.h"
#include "desk/serve/HtmlTable.h"
#include "desk/serve/Views.h"

namespace kaveldesk {
namespace {

constexpr size_t kDays = 30;
constexpr size_t kMostDays = 366;  // if the request says since when
constexpr size_t kBuilds = 10;
constexpr size_t kFingerprints = 20;

Html fingerprintTable(const Visit& visit, const Filter& filter, const DayCounts& span) {
    const Table tops = top(visit.store, filter, TopBy::Fingerprint, kFingerprints);
    std::vector<std::string> fingerprints;
    std::map<std::string, DayCounts> days;
    for (const Row& row : tops.rows) {
        fingerprints.push_back(textOf(row[0]));
        days[fingerprints.back()] = {span.firstUtc, std::vector<int64_t>(span.catches.size())};
    }
    for (const Row& row : trendOf(visit.store, filter, fingerprints).rows) {
        addDay(days[textOf(row[0])], integerOf(row[1]), integerOf(row[2]));
    }
    const auto link = [&](const Row& row) {
        const std::string fingerprint = textOf(row[0]);
        if (fingerprint.empty()) return Html("<span class=\"dim\">no fingerprint</span>");
        return Html("<a class=\"mono\" href=\"{}\">{}</a>",
                    linkTo("/fingerprint/" + fingerprint, visit.texts), fingerprint);
    };
    return htmlTable(tops.rows,
                     {{"Fingerprint", link},
                      {"Days", [&](const Row& row) { return sparkline(days[textOf(row[0])]); }},
                      countColumn("Catches", 1),
                      countColumn("Builds", 4),
                      timeColumn("First", 2),
                      timeColumn("Last", 3),
                      textColumn("Kind", 5),
                      textColumn("Signature", 6)});
}

}  // namespace

View overview(const Visit& visit) {
    Filter filter = visit.filter;
    const int64_t end = endOfDays(visit);
    filter.untilUtc = std::min(filter.untilUtc.value_or(end), end);
    const Table perDay = trend(visit.store, filter, TrendPer::Day);
    if (perDay.rows.empty()) {
        return {"Overview", Html("<p class=\"empty\">There is no such catch in the index.</p>")};
    }
    DayCounts days = lastDays(perDay, filter.sinceUtc ? kMostDays : kDays, end);
    for (const Row& row : perDay.rows) addDay(days, integerOf(row[0]), integerOf(row[1]));
    filter.sinceUtc = std::max(filter.sinceUtc.value_or(days.firstUtc), days.firstUtc);

    const auto build = [&](const Row& row) {
        const std::string name = textOf(row[0]);
        if (name.empty()) return Html("<span class=\"dim\">no build</span>");
        return Html("<a href=\"{}\">{}</a>", linkTo("/", visit.texts, {{"build", name}}), name);
    };
    const Html builds = htmlTable(top(visit.store, filter, TopBy::Build, kBuilds).rows,
                                  {{"Build", build},
                                   countColumn("Catches", 1),
                                   timeColumn("First", 2),
                                   timeColumn("Last", 3)});
    return {"Overview",
            Html("<section class=\"panel\"><h2>Catches per day</h2>{}</section>\n"
                 "<section class=\"panel\"><h2>Top fingerprints</h2>{}</section>\n"
                 "<section class=\"panel\"><h2>Builds</h2>{}</section>\n",
                 dayChart(days, visit.texts), fingerprintTable(visit, filter, days), builds)};
}

}  // namespace kaveldesk
