#include "tools/JsonLine.h"

#include <json/reader.h>

#include <memory>

namespace android::kavel::tools {

bool isNestedDeeper(std::string_view text, size_t depth) {
    size_t open = 0;
    bool isInString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            isInString = !isInString;
        } else if (isInString) {
            if (c == '\\') ++i;
        } else if (c == '[' || c == '{') {
            if (++open > depth) return true;
        } else if ((c == ']' || c == '}') && open > 0) {
            --open;
        }
    }
    return false;
}

std::optional<Json::Value> parseJsonObject(std::string_view line) {
    // On the phone, jsoncpp is built without exceptions: text that is nested too deeply for it ends
    // the process.
    if (isNestedDeeper(line, kMaxJsonDepth)) return std::nullopt;
    static const Json::CharReaderBuilder kStrict = [] {
        Json::CharReaderBuilder builder;
        Json::CharReaderBuilder::strictMode(&builder.settings_);
        return builder;
    }();
    const std::unique_ptr<Json::CharReader> reader(kStrict.newCharReader());
    Json::Value json;
    if (!reader->parse(line.data(), line.data() + line.size(), &json, nullptr)) return std::nullopt;
    if (!json.isObject()) return std::nullopt;
    return json;
}

}  // namespace android::kavel::tools
