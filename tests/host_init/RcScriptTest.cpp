#include "host/init/RcScript.h"

#include <gtest/gtest.h>

namespace android::kavel::host {
namespace {

// Would catch a bad line that passes in silence, is reported at the wrong place or takes good ones
// with it.
TEST(RcScript, ReportsBadLinesAndGoesOn) {
    struct Row {
        const char* text;
        const char* where;
        const char* part;
    };
    const Row rows[] = {
            {"start x\n", "t.rc:1", "outside any"},
            {"service one\n  user a\n", "t.rc:1", "a name and a program"},
            {"service good /b\nservice good /c\n  user a\n", "t.rc:2", "already"},
            {"service s /b\n\n# c\n  frobnicate yes # d\n", "t.rc:4", "option 'frobnicate'"},
            {"service s /b\n  user\n", "t.rc:2", "wrong values"},
            {"service s /b\n  socket a pipe 0660 root root\n", "t.rc:2", "wrong values"},
            {"service s /b\n  socket a stream 0888 root root\n", "t.rc:2", "octal"},
            {"service s /b \"c d\"\n", "t.rc:1", "quotes"},
            {"on\n  start x\n", "t.rc:1", "trigger"},
            {"on boot && init\n", "t.rc:1", "trigger"},
    };
    for (const Row& row : rows) {
        RcScript script;
        parseRc("t.rc", std::string(row.text) + "service last /bin/last\n", &script);
        ASSERT_EQ(script.problems.size(), 1U) << row.text;
        EXPECT_EQ(script.problems[0].where, row.where) << row.text;
        EXPECT_NE(script.problems[0].text.find(row.part), std::string::npos)
                << script.problems[0].text;
        EXPECT_EQ(script.services.back().name, "last") << row.text;
    }
}

}  // namespace
}  // namespace android::kavel::host
