#include "desk/serve/Html.h"

#include <cctype>

#include "desk/parse/Printable.h"

namespace kaveldesk {

std::string Html::markupOf(std::string_view text) {
    std::string markup;
    for (const char c : printable(text)) {
        switch (c) {
            case '&':
                markup += "&amp;";
                break;
            case '<':
                markup += "&lt;";
                break;
            case '>':
                markup += "&gt;";
                break;
            case '"':
                markup += "&quot;";
                break;
            case '\'':
                markup += "&#39;";
                break;
            default:
                markup += c;
        }
    }
    return markup;
}

std::string urlEncoded(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain =
                byte < 0x80 && (std::isalnum(byte) != 0 || c == '-' || c == '.' || c == '_');
        encoded += isPlain ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return encoded;
}

}  // namespace kaveldesk
