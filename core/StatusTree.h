#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel {

/**
 * A value with a name, an object of such values, or a list. The text and the JSON form of a status
 * are made from one tree, so they have the same contents.
 */
struct StatusNode {
    enum class Kind { Text, Literal, Object, List };

    std::string name;  ///< as a JSON key; empty in a list
    Kind kind;
    std::string value;              ///< of a text, or the JSON literal
    std::vector<StatusNode> parts;  ///< of an object or a list
};

// Each returns a node. Names are in camel case.

StatusNode textNode(std::string name, std::string_view value);
StatusNode numberNode(std::string name, int64_t value);
StatusNode countNode(std::string name, uint64_t value);
StatusNode flagNode(std::string name, bool value);
StatusNode nullNode(std::string name);
StatusNode objectNode(std::string name, std::vector<StatusNode> parts);
StatusNode listNode(std::string name, std::vector<StatusNode> parts);

/** Returns the tree as one line of JSON with a newline. */
std::string statusJson(const StatusNode& node);

/**
 * Returns the tree as lines for people: names in words, nested parts indented, a list of flat
 * objects as a table. Each control character in a value becomes "\xHH".
 */
std::string statusText(const StatusNode& root);

}  // namespace android::kavel
