// Would catch a cut that is off by one, an event type whose text is read in the form of another
// one, a text without one of its keys that is refused, and a text that is too short for its keys
// but becomes a record.

#include "event/ExtraInfo.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

std::string read(const std::string& text, int64_t eventId) {
    try {
        const KavelExtraInfo info = parseExtraInfo(text, eventId);
        return info.processName + "|" + info.packageVersion + "|" + info.eventType;
    } catch (const std::out_of_range&) {
        return "throws";
    }
}

TEST(ExtraInfo, IsReadInTheFormOfItsEventType) {
    struct {
        std::string text;
        std::string version, versionAndType, type;  // the three forms that have keys
    } const rows[] = {
            {"processName:com.a,packageVersion:1.2,eventType:x", "com.a|1.2,eventType:x|",
             "com.a|1.2|x", "com.a||x"},
            {"processName:a,b,packageVersion:,eventType:x,y", "a,b|,eventType:x,y|", "a,b||x,y",
             "a,b||x,y"},
            // The length of the process name counts from the start of the text, not from its key.
            {"12processName:processName,packageVersion:1,eventType:packageVersion",
             "processName,p|1,eventType:packageVersion|", "processName,p|1|packageVersion",
             "processName,p||packageVersion"},
            // A negative length reaches to the end.
            {"eventType:x,packageVersion:1,processName:a", "a|1,processName:a|",
             "a|1,processName:a|x,packageVersion:1,processName:a",
             "a||x,packageVersion:1,processName:a"},
            // A missing key counts as one at -1.
            {"processName:com.example.app", "com.example.app|m.example.app|",
             "com.example.app|m.example.app|me:com.example.app",
             "com.example.app||me:com.example.app"},
            {"packageVersion:1.2", "ion:1.2|1.2|", "ion:1.2|1.2|rsion:1.2", "ion:1.2||rsion:1.2"},
            {"eventType:x,processName", "throws", "throws", "throws"},
            {"exactly14bytes", "tes||", "tes||bytes", "tes||bytes"},
            {"only 13 bytes", "throws", "throws", "es||ytes"},
            {"eleven byte", "throws", "throws", "||te"},
            {"ten bytes.", "throws", "throws", "throws"},
    };
    for (const auto& row : rows) {
        for (const int64_t id : {0x1, 0x2, 0x4, 0x101, 0x103, 0x106}) {
            EXPECT_EQ(read(row.text, id), row.text + "||") << id;
        }
        for (const int64_t id : {0x3, 0x602, 0x702}) EXPECT_EQ(read(row.text, id), row.version);
        for (const int64_t id : {0x5, 0x601, 0x701}) {
            EXPECT_EQ(read(row.text, id), row.versionAndType) << row.text;
        }
        EXPECT_EQ(read(row.text, 0x10000001), row.type) << row.text;
        for (const int64_t id : {-1, 0, 0x6, 0x102, 0x402, 0x603, 0xF01, 0x10000002}) {
            EXPECT_EQ(read(row.text, id), "||") << id;
        }
    }
}

}  // namespace
}  // namespace android::kavel
