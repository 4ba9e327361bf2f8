#include "platform/ProcText.h"

#include <algorithm>
#include <charconv>

namespace android::kavel {
namespace {

using std::string_view;

constexpr string_view kUidKey = "Uid:";

std::optional<int64_t> firstNumber(string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.empty() || text.front() == '-') return std::nullopt;
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

std::optional<int64_t> uidOfStatus(string_view status) {
    while (!status.empty()) {
        const string_view line = status.substr(0, status.find('\n'));
        if (line.substr(0, kUidKey.size()) == kUidKey) {
            return firstNumber(line.substr(kUidKey.size()));
        }
        status.remove_prefix(std::min(line.size() + 1, status.size()));
    }
    return std::nullopt;
}

string_view commandOfCmdline(string_view cmdline) {
    using std::string_view_literals::operator""sv;
    return cmdline.substr(0, cmdline.find_first_of("\0 "sv));
}

}  // namespace android::kavel
