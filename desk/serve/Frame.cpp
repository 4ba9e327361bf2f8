#include "desk/serve/Frame.h"

namespace kaveldesk {
namespace {

Html filterForm(const std::string& path, const FilterTexts& texts) {
    Html fields;
    for (const FilterField& field : kFilterFields) {
        const auto text = texts.find(field.name);
        fields +=
                Html("<label>{} <input name=\"{}\" value=\"{}\" placeholder=\"{}\"></label>\n",
                     field.title, field.name, text == texts.end() ? "" : text->second, field.hint);
    }
    return Html(
            "<form class=\"filter\" action=\"{}\">{}<button>Filter</button>"
            " <a href=\"{}\">Clear</a></form>\n",
            path, fields, path);
}

}  // namespace

std::string framed(const View& view, const std::string& path, const FilterTexts& texts,
                   std::optional<uint64_t> changes) {
    Html navigation;
    if (!path.empty()) {
        const auto current = [&](const char* target) {
            return path == target ? Html(" aria-current=\"page\"") : Html();
        };
        navigation += Html(
                "<nav><a href=\"{}\"{}>Overview</a> <a href=\"{}\"{}>Catches</a></nav>\n",
                linkTo("/", texts), current("/"), linkTo("/catches", texts), current("/catches"));
        navigation += filterForm(path, texts);
    }
    return Html("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                "<meta name=\"viewport\" content=\"width=device-width\">\n"
                "<title>kaveldesk: {}</title>\n<link rel=\"icon\" href=\"data:,\">\n"
                "<link rel=\"stylesheet\" href=\"/page.css\">\n"
                "<script src=\"/page.js\" defer></script>\n</head>\n<body{}>\n"
                "<header><div class=\"bar\"><a class=\"brand\" href=\"/\">kaveldesk</a>{}</div>"
                "</header>\n<main id=\"view\">\n{}</main>\n"
                "<div id=\"status\" role=\"status\" aria-live=\"polite\"></div>\n</body>\n"
                "</html>\n",
                view.title, changes ? Html(" data-changes=\"{}\"", size_t{*changes}) : Html(),
                navigation, view.content)
            .markup();
}

View loginView() {
    return {"Login",
            Html("<form id=\"login\" class=\"panel\"><label>Token of this server "
                 "<input type=\"password\" name=\"token\" autocomplete=\"current-password\" "
                 "required "
                 "autofocus></label> <button>Open</button>\n"
                 "<noscript>Without JavaScript, send the token as Authorization: Bearer.</noscript>"
                 "</form>\n")};
}

}  // namespace kaveldesk
