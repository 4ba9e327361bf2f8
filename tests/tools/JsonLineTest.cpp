#include "tools/JsonLine.h"

#include <gtest/gtest.h>

#include <string>

namespace android::kavel::tools {
namespace {

// Catches text that the phone's JSON library, which has no exceptions, ends the process for; and
// brackets in a text that count as nesting.
TEST(JsonLine, IsNotNestedTooDeeply) {
    const auto nested = [](size_t depth, const std::string& inside = "") {
        return "{\"a\":" + std::string(depth - 1, '[') + inside + std::string(depth - 1, ']') + "}";
    };
    EXPECT_TRUE(parseJsonObject(nested(kMaxJsonDepth)).has_value());
    EXPECT_TRUE(parseJsonObject(nested(kMaxJsonDepth, R"("\"[[{{\\")")).has_value());
    EXPECT_FALSE(parseJsonObject(nested(kMaxJsonDepth + 1)).has_value());
    EXPECT_FALSE(parseJsonObject("{\"a\":" + std::string(1'000'000, '[')).has_value());
    for (const std::string before : {"", "\"[\\\"\"", "\"\\\\\"", "]]]]", "[[}}"}) {
        EXPECT_TRUE(isNestedDeeper(before + "[{[", 2)) << before;
        EXPECT_FALSE(isNestedDeeper(before + "[][]{}\"[[[\"", 2)) << before;
    }
}

}  // namespace
}  // namespace android::kavel::tools
