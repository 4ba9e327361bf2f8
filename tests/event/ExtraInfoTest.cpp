#include "event/ExtraInfo.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

// Would catch a cut that is off by one, in an ordinary text or in one that nobody should send.
TEST(ExtraInfo, Split) {
    struct {
        long eventId;
        std::string text, process, version, type;
    } const rows[] = {
            // One row for each event type that carries structured text.
            {0x3, "processName:com.a,packageVersion:1.2", "com.a", "1.2", ""},
            {0x602, "processName:com.a,packageVersion:1.2", "com.a", "1.2", ""},
            {0x702, "processName:com.a,packageVersion:1.2", "com.a", "1.2", ""},
            {0x5, "processName:com.a,packageVersion:1.2,eventType:x", "com.a", "1.2", "x"},
            {0x601, "processName:com.a,packageVersion:1.2,eventType:x", "com.a", "1.2", "x"},
            {0x701, "processName:com.a,packageVersion:1.2,eventType:x", "com.a", "1.2", "x"},
            {0x10000001, "processName:com.a,packageVersion:1.2,eventType:x", "com.a", "", "x"},
            // The process name ends where the version's key says, even where there is none.
            {0x10000001, "processName:com.a,eventType:x", "com.a,eventType:x", "", "x"},
            // Empty values, commas inside values.
            {0x5, "processName:,packageVersion:,eventType:", "", "", ""},
            {0x5, "processName:a,b,packageVersion:1,2,eventType:x,y", "a,b", "1,2", "x,y"},
            {0x3, "processName:a,packageVersion:1,eventType:x", "a", "1,eventType:x", ""},
            // The length counts from the start of the text, not from the key.
            {0x3, "12processName:com.a,packageVersion:1", "com.a,p", "1", ""},
            // Keys the other way round: negative lengths reach to the end.
            {0x3, "packageVersion:1,processName:a", "a", "1,processName:a", ""},
            {0x5, "eventType:x,processName:a,packageVersion:1", "a,packageVers", "1",
             "x,processName:a,packageVersion:1"},
            // The first occurrence of a key counts.
            {0x3, "processName:processName,packageVersion:1", "processName", "1", ""},
    };
    for (const auto& row : rows) {
        const KavelExtraInfo info = parseExtraInfo(row.text, row.eventId);
        EXPECT_EQ(info.processName, row.process) << row.text;
        EXPECT_EQ(info.packageVersion, row.version) << row.text;
        EXPECT_EQ(info.eventType, row.type) << row.text;
    }
}

// Would catch an event type whose text is split, or kept, against its form.
TEST(ExtraInfo, WholeOrDropped) {
    const std::string text = "processName:com.a,packageVersion:1.2,eventType:x";
    for (const long eventId : {0x1, 0x2, 0x4, 0x101, 0x103, 0x106}) {
        for (const std::string& any : {text, std::string("com.b"), std::string()}) {
            const KavelExtraInfo info = parseExtraInfo(any, eventId);
            EXPECT_EQ(info.processName, any);
            EXPECT_EQ(info.packageVersion + info.eventType, "");
        }
    }
    for (const long eventId : {0x0, 0x6, 0x102, 0x402, 0x603, 0x703, 0xF01, 0x10000002, -1}) {
        EXPECT_EQ(extraTextForm(eventId), ExtraTextForm::Dropped) << eventId;
        const KavelExtraInfo info = parseExtraInfo(text, eventId);
        EXPECT_EQ(info.processName + info.packageVersion + info.eventType, "") << eventId;
    }
}

// Would catch a text without its keys that makes a record of rubbish instead of an error.
TEST(ExtraInfo, MissingKeysThrow) {
    struct {
        long eventId;
        const char* text;
    } const rows[] = {
            {0x3, ""},
            {0x3, "processName:com.a"},
            {0x602, "packageVersion:1.2"},
            {0x5, "processName:com.a,packageVersion:1.2"},
            {0x5, "processName:com.a,eventType:x"},
            {0x10000001, "processName:com.a,packageVersion:1.2"},
            {0x10000001, "eventType:x"},
            {0x3, "packageVersion:1,processName"},  // the value would start past the end
    };
    for (const auto& row : rows) {
        EXPECT_THROW(parseExtraInfo(row.text, row.eventId), std::out_of_range) << row.text;
    }
}

}  // namespace
}  // namespace android::kavel
