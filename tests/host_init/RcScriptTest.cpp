#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>
#include <vector>

#include "host/init/RcScript.h"
#include "host/init/RcTokenizer.h"

namespace android::kavel::host {
namespace {

RcScript parse(const std::string& text) {
    RcScript script;
    parseRc("t.rc", text, &script);
    return script;
}

// Catches words cut or joined wrongly, and line numbers that drift after continued lines.
TEST(RcTokenizer, SplitsLines) {
    struct Row {
        std::string text;
        std::vector<std::pair<int, std::vector<std::string>>> lines;
    };
    const std::vector<Row> rows{
            {"", {}},
            {"\n  \n\t\n", {}},
            {"# only a comment\n", {}},
            {"a b\tc # rest\n", {{1, {"a", "b", "c"}}}},
            {"a#b c", {{1, {"a#b", "c"}}}},
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

// Catches an option that lands in the wrong field, or none.
TEST(RcScript, ReadsAService) {
    const RcScript script =
            parse("service one /bin/one --flag \"two words\"\n"
                  "    class main late\n"
                  "    user system\n"
                  "    group system log readproc\n"
                  "    capabilities KILL cap_syslog\n"
                  "    socket ctl stream 0660 system log\n"
                  "    socket raw seqpacket 600\n"
                  "    setenv A b\n"
                  "    restart_period 7\n"
                  "    oneshot\n"
                  "    disabled\n"
                  "    writepid /dev/cpuset/tasks\n"
                  "service two /bin/two\n");
    ASSERT_TRUE(script.problems.empty()) << script.problems[0].text;
    ASSERT_EQ(script.services.size(), 2U);
    const RcService& one = script.services[0];
    EXPECT_EQ(one.name, "one");
    EXPECT_EQ(one.args, (std::vector<std::string>{"/bin/one", "--flag", "two words"}));
    EXPECT_TRUE(one.inClass("main") && one.inClass("late") && !one.inClass("default"));
    EXPECT_EQ(one.user, "system");
    EXPECT_EQ(one.groups, (std::vector<std::string>{"system", "log", "readproc"}));
    EXPECT_EQ(one.capabilities, (std::vector<std::string>{"KILL", "SYSLOG"}));
    ASSERT_EQ(one.sockets.size(), 2U);
    EXPECT_EQ(one.sockets[0].type, SOCK_STREAM);
    EXPECT_EQ(one.sockets[0].mode, 0660U);
    EXPECT_EQ(one.sockets[0].user + ":" + one.sockets[0].group, "system:log");
    EXPECT_EQ(one.sockets[1].type, SOCK_SEQPACKET);
    EXPECT_EQ(one.sockets[1].user + ":" + one.sockets[1].group, "root:root");
    EXPECT_EQ(one.environment[0], std::make_pair(std::string("A"), std::string("b")));
    EXPECT_EQ(one.restartPeriod, std::chrono::seconds(7));
    EXPECT_TRUE(one.oneshot && one.disabled);
    const RcService& two = script.services[1];
    EXPECT_TRUE(two.inClass("default") && !two.oneshot && !two.disabled && !two.capabilities);
    EXPECT_EQ(two.restartPeriod, std::chrono::seconds(5));
}

// Catches triggers that are read as something else, and commands given to the wrong action.
TEST(RcScript, ReadsActions) {
    const RcScript script =
            parse("on boot && property:a.b=1 && property:c=*\n"
                  "    start x\n"
                  "    setprop k v\n"
                  "on property:d=\n"
                  "    stop x\n");
    ASSERT_TRUE(script.problems.empty()) << script.problems[0].text;
    ASSERT_EQ(script.actions.size(), 2U);
    EXPECT_EQ(script.actions[0].event, "boot");
    EXPECT_EQ(script.actions[0].properties,
              (std::vector<std::pair<std::string, std::string>>{{"a.b", "1"}, {"c", "*"}}));
    ASSERT_EQ(script.actions[0].commands.size(), 2U);
    EXPECT_EQ(script.actions[0].commands[1].where, "t.rc:3");
    EXPECT_EQ(script.actions[1].event, "");
    EXPECT_EQ(script.actions[1].properties[0].second, "");
    EXPECT_EQ(script.actions[1].commands.size(), 1U);
}

// Catches bad lines that pass in silence, point to the wrong line or take good ones with them.
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
            {"service s /b\n  oneshot now\n", "t.rc:2", "1 arguments"},
            {"service s /b\n  socket a pipe 0660\n", "t.rc:2", "socket type"},
            {"service s /b\n  socket a stream 0888\n", "t.rc:2", "octal"},
            {"service s /b\n  socket a/b stream 0660\n", "t.rc:2", "socket name"},
            {"service s /b\n  restart_period 0\n", "t.rc:2", "1 or more"},
            {"service s /b\n  restart_period 5x\n", "t.rc:2", "1 or more"},
            {"service s /b\n\n# c\n  what \\\n ever\n", "t.rc:4", "unknown"},
            {"on\n  start x\n", "t.rc:1", "&&"},
            {"on boot init\n", "t.rc:1", "&&"},
            {"on boot && init\n", "t.rc:1", "one event"},
            {"on property:a\n", "t.rc:1", "NAME=VALUE"},
            {"on property:=1\n", "t.rc:1", "NAME=VALUE"},
    };
    for (const Row& row : rows) {
        const RcScript script = parse(std::string(row.text) + "service last /bin/last\n");
        ASSERT_EQ(script.problems.size(), 1U) << row.text;
        EXPECT_EQ(script.problems[0].where, row.where) << row.text;
        EXPECT_NE(script.problems[0].text.find(row.part), std::string::npos)
                << script.problems[0].text;
        EXPECT_EQ(script.services.back().name, "last") << row.text;
    }
}

}  // namespace
}  // namespace android::kavel::host
