#include <charconv>
#include <stdexcept>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/serve/HtmlTable.h"
#include "desk/serve/Views.h"

namespace kaveldesk {
namespace {

constexpr size_t kRows = 100;

/** Columns of listCatches(). */
enum : size_t {
    kUtc,
    kEvent,
    kProcess,
    kBuild,
    kBroken,
    kFingerprint,
    kKind,
    kHeadline,
    kArchive,
    kSize,
    kHash
};

std::string placeText(const Row& row) {
    return fmt::format("{}.{}", integerOf(row[kUtc]), textOf(row[kHash]));
}

ListPlace parsePlace(const std::string& text) {
    ListPlace place = {};
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), place.utc);
    const auto point = static_cast<size_t>(rest - text.data());
    if (error != std::errc() || point >= text.size() || *rest != '.') {
        throw std::invalid_argument("The link does not name a place of the list.");
    }
    place.hash = text.substr(point + 1);
    return place;
}

}  // namespace

Html catchTable(const Table& catches) {
    const auto archive = [](const Row& row) {
        return Html("<a href=\"/report/{}\">{}</a>{}", textOf(row[kHash]), textOf(row[kArchive]),
                    integerOf(row[kBroken]) != 0 ? Html(" <span class=\"badge bad\">broken</span>")
                                                 : Html());
    };
    const auto fingerprint = [](const Row& row) {
        const std::string text = textOf(row[kFingerprint]);
        return text.empty() ? Html()
                            : Html("<a class=\"mono\" href=\"/fingerprint/{}\">{}</a>", text, text);
    };
    return htmlTable(catches.rows, {timeColumn("Time", kUtc),
                                    textColumn("Event", kEvent),
                                    textColumn("Process", kProcess),
                                    textColumn("Build", kBuild),
                                    {"Fingerprint", fingerprint},
                                    textColumn("What most likely happened", kHeadline),
                                    {"Report", archive}});
}

View catchesView(const Visit& visit) {
    ListPlace place;
    if (!visit.behind.empty()) place = parsePlace(visit.behind);
    Table catches = listCatches(visit.store, visit.filter, kRows + 1,
                                visit.behind.empty() ? nullptr : &place);
    Html more;
    if (catches.rows.size() > kRows) {
        catches.rows.pop_back();
        more = Html("<p><a rel=\"next\" href=\"{}\">Older catches</a></p>\n",
                    linkTo("/catches", visit.texts, {{"behind", placeText(catches.rows.back())}}));
    }
    if (catches.rows.empty()) {
        return {"Catches", Html("<p class=\"empty\">There is no such catch in the index.</p>")};
    }
    return {"Catches",
            Html("<section class=\"panel\"><h2>Catches, the latest first</h2>{}{}</section>\n",
                 catchTable(catches), more)};
}

}  // namespace kaveldesk
