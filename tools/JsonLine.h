#pragma once

#include <json/value.h>

#include <cstddef>
#include <optional>
#include <string_view>

namespace android::kavel::tools {

/** Lists and objects within each other that a line may have. */
inline constexpr size_t kMaxJsonDepth = 64;

/**
 * Whether @p text opens more than @p depth lists and objects within each other, brackets within
 * JSON strings not counted.
 */
bool isNestedDeeper(std::string_view text, size_t depth);

/** The JSON object that is the whole of @p line; nullopt if it is none or is nested too deeply. */
std::optional<Json::Value> parseJsonObject(std::string_view line);

}  // namespace android::kavel::tools
