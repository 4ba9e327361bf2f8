#include "desk/parse/MemInfo.h"

#include <algorithm>
#include <optional>

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** Reads "123,456K" at the front of @p text, the commas being for people. */
std::optional<int64_t> takeKiloBytes(std::string_view& text) {
    int64_t value = 0;
    size_t at = 0;
    constexpr int64_t kLimit = INT64_MAX / 20;
    for (; at < text.size() && (isDigit(text[at]) || text[at] == ','); ++at) {
        if (text[at] != ',' && value < kLimit) value = value * 10 + (text[at] - '0');
    }
    if (at == 0 || at == text.size() || text[at] != 'K') return std::nullopt;
    text.remove_prefix(at + 1);
    return value;
}

}  // namespace

std::vector<MemorySize> parseProcMemInfo(std::string_view text) {
    std::vector<MemorySize> sizes;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        const std::string_view name = until(line, ":");
        std::string_view rest = trim(line.substr(std::min(name.size() + 1, line.size())));
        const auto value = takeInteger<int64_t>(rest);
        if (value && trim(rest) == "kB")
            sizes.push_back({std::string(trim(name)), *value, lines.number()});
    }
    return sizes;
}

std::vector<MemorySize> parseMemInfo(std::string_view text) {
    std::vector<MemorySize> sizes;
    bool isList = false;
    std::string process;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        std::string_view rest = trim(line);
        if (startsWith(rest, "** MEMINFO in pid ")) {
            process = between(rest, "[", "]");
        } else if (startsWith(rest, "Total PSS by process:")) {
            isList = true;
        } else if (startsWith(rest, "Total ")) {
            isList = false;
        } else if (startsWith(rest, "TOTAL ") && !process.empty()) {
            takeWord(rest);
            rest = trim(rest);
            if (const auto value = takeInteger<int64_t>(rest))
                sizes.push_back({process, *value, lines.number()});
            process.clear();
        } else if (isList) {
            const auto value = takeKiloBytes(rest);
            if (value && startsWith(rest, ": ")) {
                sizes.push_back(
                        {std::string(trim(until(rest.substr(2), "("))), *value, lines.number()});
            }
        }
    }
    return sizes;
}

}  // namespace kaveldesk
