#include "tools/ExtraText.h"

#include <gtest/gtest.h>

#include "event/ExtraInfo.h"
#include "tools/CommandLine.h"

namespace android::kavel::tools {
namespace {

constexpr std::nullopt_t kNone = std::nullopt;

// Catches a text from which the daemon would read other fields than the user gave.
TEST(ExtraText, TheDaemonReadsBackWhatWasGiven) {
    struct Case {
        std::vector<int64_t> ids;
        ExtraFields fields;
        const char* text;
        KavelExtraInfo read;
    };
    const Case cases[] = {
            {{0x3, 0x602, 0x702},
             {"com.a", "1.2", kNone},
             "processName:com.a,packageVersion:1.2",
             {"com.a", "1.2", ""}},
            {{0x5, 0x601, 0x701},
             {"com.a,b", "1,2", "x:y"},
             "processName:com.a,b,packageVersion:1,2,eventType:x:y",
             {"com.a,b", "1,2", "x:y"}},
            {{0x10000001},
             {"com.a", kNone, "dialog"},
             "processName:com.a,packageVersion:,eventType:dialog",
             {"com.a", "", "dialog"}},
            {{0x1, 0x2, 0x4, 0x101, 0x103, 0x106},
             {"a;touch /data/pwned;b", kNone, kNone},
             "a;touch /data/pwned;b",
             {"a;touch /data/pwned;b", "", ""}},
            {{0x1, 0x106}, {kNone, kNone, kNone}, "", {"", "", ""}},
            {{0x3}, {"", "", kNone}, "processName:,packageVersion:", {"", "", ""}},
            {{0x402, -1}, {kNone, kNone, kNone}, "", {"", "", ""}},
    };
    for (const Case& each : cases) {
        for (const int64_t id : each.ids) {
            const ExtraText extra = buildExtraText(id, each.fields);
            EXPECT_EQ(extra.text, each.text) << id;
            EXPECT_EQ(extra.note, "") << id;
            const KavelExtraInfo read = parseExtraInfo(extra.text, id);
            EXPECT_EQ(read.processName, each.read.processName) << id;
            EXPECT_EQ(read.packageVersion, each.read.packageVersion) << id;
            EXPECT_EQ(read.eventType, each.read.eventType) << id;
        }
    }
}

// Catches silence about text that the daemon throws away.
TEST(ExtraText, SaysWhatIsNotKept) {
    EXPECT_NE(buildExtraText(0x402, {"p", kNone, kNone}).note, "");
    EXPECT_NE(buildExtraText(0x10000001, {"p", "1", "t"}).note, "");
    EXPECT_NE(wholeExtraText(0x402, "x").note, "");
    EXPECT_EQ(wholeExtraText(0x3, "x").note, "");
}

// Catches reports that the daemon would reject, or would read otherwise, being sent all the same.
TEST(ExtraText, RefusesWhatTheEventTypeCannotCarry) {
    const struct {
        int64_t id;
        ExtraFields fields;
    } cases[] = {
            {0x3, {kNone, kNone, kNone}},
            {0x3, {"p", kNone, kNone}},
            {0x3, {"p", "1", "t"}},
            {0x5, {"p", "1", kNone}},
            {0x10000001, {"p", "1", kNone}},
            {0x10000001, {kNone, kNone, "t"}},
            {0x1, {"p", "1", kNone}},
            {0x106, {"p", kNone, "t"}},
            {0x3, {"my.packageVersion.app", "1", kNone}},
            {0x5, {"eventType", "1", "t"}},
            {0x5, {"p", "eventType", "t"}},
            {0x10000001, {"p", "eventType", "t"}},
    };
    for (const auto& each : cases) {
        EXPECT_THROW(buildExtraText(each.id, each.fields), UsageError) << each.id;
    }
}

}  // namespace
}  // namespace android::kavel::tools
