#pragma once

#include <json/value.h>

#include <cstddef>
#include <optional>
#include <string_view>

namespace android::kavel::tools {

/** Maximum number of nested lists and objects in a line. */
inline constexpr size_t kMaxJsonDepth = 64;

/**
 * Whether @p text has more than @p depth nested lists and objects. Ignores brackets within JSON
 * strings.
 */
bool isNestedDeeper(std::string_view text, size_t depth);

/** Parses @p line as one JSON object. Returns nullopt if it is not one or is nested too deeply. */
std::optional<Json::Value> parseJsonObject(std::string_view line);

}  // namespace android::kavel::tools
