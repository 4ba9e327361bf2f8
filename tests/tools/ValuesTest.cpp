#include "tools/Values.h"

#include <gtest/gtest.h>

#include <limits>

#include "tools/CommandLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

// Catches a parser that takes trailing junk, wraps around or loses the ends of the range.
TEST(Values, IntegersAreStrict) {
    constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    const std::pair<const char*, int64_t> cases[] = {
            {"0", 0},
            {"010", 10},
            {"0x10", 16},
            {"0XfF", 255},
            {"-1", -1},
            {"-0x2", -2},
            {"9223372036854775807", kMax},
            {"0x7fffffffffffffff", kMax},
            {"-9223372036854775808", kMin},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(parseInteger(text), expected) << text;
    for (const char* bad :
         {"9223372036854775808", "0x8000000000000000", "-9223372036854775809",
          "99999999999999999999", "", "-", "0x", "+1", " 1", "1 ", "1x", "0x1g", "--1", "0x-1"}) {
        EXPECT_EQ(parseInteger(bad), std::nullopt) << bad;
    }
}

// Catches names that miss their bit, and a mask that would abort the daemon being let through.
TEST(Values, MasksTakeNumbersAndNames) {
    const std::pair<const char*, uint32_t> cases[] = {
            {"0x103B", 0x103B},
            {"4155", 4155},
            {"android,kernel,display", 0xB},
            {"Android | KAVEL_LOGINFO_POWER|kavel_loginfo_events", 0x1041},
            {"0x1|kernel", 3},
            {"system_server_traces", 0x40000000},
            {"0x7fffffff", 0x7fffffff},
            {"-2147483648", 0x80000000},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(parseExplainMask(text), expected) << text;
        EXPECT_EQ(static_cast<uint32_t>(parseReportMask(text)), expected) << text;
    }
    EXPECT_EQ(parseExplainMask("0xffffffff"), 0xffffffffU);
    for (const char* text : {"0x80000000", "0xFFFFFFFF", "4294967296", "-2147483649"}) {
        EXPECT_THROW(parseReportMask(text), UsageError) << text;
    }
    for (const char* text : {"", ",", "android,", "andro", "kavel_loginfo_", "0x100000000"}) {
        EXPECT_THROW(parseExplainMask(text), UsageError) << text;
    }
}

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
