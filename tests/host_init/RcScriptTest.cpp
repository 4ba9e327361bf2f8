#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/init/RcScript.h"
#include "host/init/RcTokenizer.h"

namespace android::kavel::host {
namespace {

// Would catch words cut or joined wrongly, and line numbers that drift after continued lines.
TEST(RcTokenizer, SplitsLines) {
    struct Row {
        std::string text;
        std::vector<std::pair<int, std::vector<std::string>>> lines;
    };
    const std::vector<Row> rows{
            {"\n  \n\t\n", {}},
            {"a b\tc # rest\n", {{1, {"a", "b", "c"}}}},
            {"a \"b c\" d\"e f\"g", {{1, {"a", "b c", "de fg"}}}},
            {"a \"\"", {{1, {"a", ""}}}},
            {"a\\ b \\# \\n", {{1, {"a b", "#", "\n"}}}},
            {"a \\\n   b\nc", {{1, {"a", "b"}}, {3, {"c"}}}},
            {"a\\\nb", {{1, {"ab"}}}},
            {"a\r\nb \\\r\n c\r\n", {{1, {"a"}}, {2, {"b", "c"}}}},
            {"a \\", {{1, {"a", ""}}}},
            {"a \"open\nb", {{1, {"a", "open"}}, {2, {"b"}}}},
    };
    for (const Row& row : rows) {
        std::vector<std::pair<int, std::vector<std::string>>> lines;
        for (const RcLine& line : tokenizeRc(row.text)) lines.emplace_back(line.number, line.words);
        EXPECT_EQ(lines, row.lines) << row.text;
    }
}

// Would catch bad lines that pass in silence, point to the wrong line or take good ones with them.
TEST(RcScript, ReportsBadLinesAndGoesOn) {
    struct Row {
        const char* text;
        const char* where;
        const char* part;
    };
    const Row rows[] = {
            {"start x\n", "t.rc:1", "outside any"},
            {"service one\n  user a\n", "t.rc:1", "left out"},
            {"service good /b\nservice good /c\n  user a\n", "t.rc:2", "already"},
            {"service s /b\n  frobnicate yes\n", "t.rc:2", "unknown service option 'frobnicate'"},
            {"service s /b\n  user\n", "t.rc:2", "0 arguments"},
            {"service s /b\n  socket a pipe 0660\n", "t.rc:2", "socket type"},
            {"service s /b\n  socket a stream 0888\n", "t.rc:2", "octal"},
            {"service s /b\n  socket a/b stream 0660\n", "t.rc:2", "socket name"},
            {"service s /b\n  restart_period 0\n", "t.rc:2", "1 or more"},
            {"service s /b\n\n# c\n  what \\\n ever\n", "t.rc:4", "unknown"},
            {"on\n  start x\n", "t.rc:1", "&&"},
            {"on boot && init\n", "t.rc:1", "one event"},
            {"on property:a\n", "t.rc:1", "NAME=VALUE"},
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
