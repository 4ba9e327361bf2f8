#include "tools/EventLines.h"

#include <algorithm>
#include <utility>

#include "tools/JsonLine.h"

namespace android::kavel::tools {

std::optional<Json::Value> parseEventLine(std::string_view line) {
    std::optional<Json::Value> event = parseJsonObject(line);
    if (!event) return std::nullopt;
    for (const EventKey& key : kEventKeys) {
        const Json::Value& value = std::as_const(*event)[key.name];
        if (key.isNumber ? !value.isInt64() : !value.isString()) return std::nullopt;
    }
    return event;
}

EventLines parseEventLines(std::string_view text) {
    EventLines lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        if (auto event = parseEventLine(line)) {
            lines.events.push_back(std::move(*event));
        } else {
            lines.malformed.emplace_back(line);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace android::kavel::tools
