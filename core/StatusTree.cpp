#include "core/StatusTree.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "platform/TerminalText.h"
#include "platform/Utf8.h"

namespace android::kavel {
namespace {

using Kind = StatusNode::Kind;

bool isValue(const StatusNode& node) {
    return node.kind == Kind::Text || node.kind == Kind::Literal;
}

/** "secondsLeft" becomes "seconds left". */
std::string words(const std::string& name) {
    std::string text;
    for (const char c : name) {
        if (std::isupper(static_cast<unsigned char>(c)) != 0) {
            text.append(" ").push_back(
                    static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
        } else {
            text.push_back(c);
        }
    }
    return text;
}

std::string shown(const StatusNode& node) {
    if (node.kind == Kind::Text) return node.value.empty() ? "-" : printable(node.value);
    if (node.value == "null") return "-";
    if (node.value == "true") return "yes";
    return node.value == "false" ? "no" : node.value;
}

/** A list of objects that contain only values. */
bool isTable(const StatusNode& list) {
    return std::all_of(list.parts.begin(), list.parts.end(), [](const StatusNode& row) {
        return row.kind == Kind::Object && std::all_of(row.parts.begin(), row.parts.end(), isValue);
    });
}

void appendTable(const StatusNode& list, const std::string& indent, std::string* text) {
    std::vector<std::vector<std::string>> rows(1);
    for (const StatusNode& column : list.parts.front().parts) {
        rows.front().push_back(words(column.name));
    }
    for (const StatusNode& row : list.parts) {
        std::vector<std::string> cells;
        for (const StatusNode& cell : row.parts) cells.push_back(shown(cell));
        rows.push_back(std::move(cells));
    }
    std::vector<size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
    for (const auto& row : rows) {
        std::string line = indent;
        for (size_t i = 0; i < row.size(); ++i) {
            line += i + 1 < row.size() ? padded(row[i], widths[i] + 2, Align::Left) : row[i];
        }
        *text += line + "\n";
    }
}

void appendText(const StatusNode& node, const std::string& indent, std::string* text) {
    const std::string label = indent + (node.name.empty() ? "-" : words(node.name) + ":");
    if (isValue(node)) {
        *text += label + " " + shown(node) + "\n";
        return;
    }
    if (node.parts.empty()) {
        *text += label + " none\n";
        return;
    }
    *text += label + "\n";
    if (node.kind == Kind::List && isTable(node)) return appendTable(node, indent + "  ", text);
    for (const StatusNode& part : node.parts) appendText(part, indent + "  ", text);
}

void appendJson(const StatusNode& node, std::string* json) {
    if (node.kind == Kind::Text) {
        *json += jsonString(node.value);
        return;
    }
    if (node.kind == Kind::Literal) {
        *json += node.value;
        return;
    }
    const bool isObject = node.kind == Kind::Object;
    *json += isObject ? '{' : '[';
    for (const StatusNode& part : node.parts) {
        if (&part != &node.parts.front()) *json += ',';
        if (isObject) *json += jsonString(part.name) + ":";
        appendJson(part, json);
    }
    *json += isObject ? '}' : ']';
}

}  // namespace

StatusNode textNode(std::string name, std::string_view value) {
    return {std::move(name), Kind::Text, std::string(value), {}};
}

StatusNode numberNode(std::string name, int64_t value) {
    return {std::move(name), Kind::Literal, std::to_string(value), {}};
}

StatusNode countNode(std::string name, uint64_t value) {
    return {std::move(name), Kind::Literal, std::to_string(value), {}};
}

StatusNode flagNode(std::string name, bool value) {
    return {std::move(name), Kind::Literal, value ? "true" : "false", {}};
}

StatusNode nullNode(std::string name) {
    return {std::move(name), Kind::Literal, "null", {}};
}

StatusNode objectNode(std::string name, std::vector<StatusNode> parts) {
    return {std::move(name), Kind::Object, "", std::move(parts)};
}

StatusNode listNode(std::string name, std::vector<StatusNode> parts) {
    return {std::move(name), Kind::List, "", std::move(parts)};
}

std::string statusJson(const StatusNode& node) {
    std::string json;
    appendJson(node, &json);
    return json + "\n";
}

std::string statusText(const StatusNode& root) {
    std::string text;
    for (const StatusNode& part : root.parts) appendText(part, "", &text);
    return text;
}

}  // namespace android::kavel
