#include "tools/Text.h"

#include <gtest/gtest.h>

namespace android::kavel::tools {
namespace {

// Catches terminal control sequences getting through, and plain text being mangled.
TEST(Text, ControlCharactersAreEscaped) {
    const std::pair<std::string, std::string> cases[] = {
            {"$(touch /data/x) \\ä€😀", "$(touch /data/x) \\ä€😀"},
            {"a\x1b[2Jb\n", "a\\x1b[2Jb\\x0a"},
            {"\x7f", "\\x7f"},
            {"\xc2\x9b"
             "1m",
             "\\xc2\\x9b1m"},
            {"\x9b\xff", "\\x9b\\xff"},
            {"\xe2\x82", "\\xe2\\x82"},
            {"\xed\xa0\x80", "\\xed\\xa0\\x80"},
            {"\xc0\x80", "\\xc0\\x80"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(printable(text), expected);
}

}  // namespace
}  // namespace android::kavel::tools
