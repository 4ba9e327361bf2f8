// Reports that go the whole way, in a phone whose time runs twenty times as fast.

#include <gtest/gtest.h>

#include "dump/LogCommands.h"
#include "tests/sandbox/PhoneSession.h"
#include "tools/ArchiveName.h"

namespace android::kavel::test {
namespace {

class ReportTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(daemonIsUp()); }

    static void configure(const std::string& id, const std::string& name,
                          const std::string& windowMs) {
        const Result set = run({"kavelctl", "set", id, "--name", name, "--window", windowMs});
        ASSERT_EQ(set.status, 0) << set.output;
    }

    static void send(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"kavelctl", "send"});
        const Result sent = run(arguments);
        ASSERT_EQ(sent.status, 0) << sent.output;
    }
};

// A second event of the window that opens a folder, or loses its logs; an abnormal action that
// joins the window.
TEST_F(ReportTest, CombinedReportsShareAnArchiveAndAbnormalActionsGetTheirOwn) {
    configure("0x999", "joined", "80000");
    configure("0xF03", "forced", "80000");
    send({"0x999", "--log-info", "android,meminfo"});
    send({"0x999", "--log-info", "proc_meminfo"});
    send({"0xF03", "--log-info", "prop"});

    const tools::ArchiveContents joined = awaitArchive("kavel_joined_system@");
    EXPECT_EQ(joined.broken, "");
    EXPECT_EQ(tools::parseHistory(joined.history).size(), 2U) << joined.history;
    EXPECT_TRUE(holds(joined, "android-"));
    EXPECT_TRUE(holds(joined, "meminfo-"));
    EXPECT_TRUE(holds(joined, "proc_meminfo-"));
    EXPECT_FALSE(holds(joined, "prop-"));

    const tools::ArchiveContents forced = awaitArchive("kavel_forced_system@");
    EXPECT_EQ(forced.broken, "");
    EXPECT_TRUE(holds(forced, "prop-"));
}

// A command that does not run, a file with another name, a wrong history line or extra info.
TEST_F(ReportTest, ArchiveHoldsWhatTheMaskSelects) {
    constexpr uint32_t kMask = 0xB5FB99;
    configure("0x3", "anr", "80000");
    send({"0x3", "--log-info", std::to_string(kMask), "--process", "com.example.app", "--version",
          "1.2.3"});

    const tools::ArchiveContents anr = awaitArchive("kavel_anr_com.example.app@");
    ASSERT_EQ(anr.broken, "");
    for (const LogCommand& command : kLogCommands) {
        if ((kMask & command.testBit) == 0) continue;
        EXPECT_TRUE(holds(anr, command.stem + 1)) << command.stem;
    }
    EXPECT_EQ(anr.extraInfo, "[PackageName]:com.example.app\n[PackageVersion]:1.2.3\n");

    const auto name = tools::parseArchiveName(archives("kavel_anr_").front());
    const std::vector<tools::HistoryLine> history = tools::parseHistory(anr.history);
    ASSERT_EQ(history.size(), 1U) << anr.history;
    EXPECT_EQ(history[0].eventName, "anr");
    EXPECT_EQ(history[0].time, name->time);
    EXPECT_EQ(history[0].logInfo, kMask);
}

// A disabled event type that leaves more than its one line, or a record.
TEST_F(ReportTest, DisabledEventLeavesOneLine) {
    const size_t before = logCount("[buildNewKavelEvent]: buildNewKavelEvent start.");
    send({"0x777", "--log-info", "1"});
    ASSERT_TRUE(eventually([] { return logCount("eventId: 0x777 is Disable! value: 0") == 1; }));
    EXPECT_EQ(logCount("[buildNewKavelEvent]: buildNewKavelEvent start."), before);
}

// A list that grows past its bound.
TEST_F(ReportTest, FortyReportsLeaveThirtyOneInTheList) {
    configure("0x402", "black", "1000");
    const size_t before = logCount("don't catchlog, just return");
    for (int i = 0; i < 40; ++i) send({"0x402"});
    ASSERT_TRUE(eventually([&] { return logCount("don't catchlog, just return") == before + 40; }));
    size_t listed = 0;
    for (const std::string& line : logLines()) {
        if (line.find("dravo_statistic_common") != std::string::npos) listed = 0;
        if (line.find("showAllKavelEvents") != std::string::npos) ++listed;
    }
    EXPECT_EQ(listed, 31U);
}

// A line that shows the OTA version.
TEST_F(ReportTest, NoLineShowsTheOtaVersion) {
    configure("0x998", "masked", "1000");
    send({"0x998", "--log-info", "prop"});
    EXPECT_EQ(awaitArchive("kavel_masked_system@").broken, "");
    std::string ota = run({"getprop", "ro.build.version.ota"}).output;
    ota.erase(ota.find_last_not_of('\n') + 1);
    ASSERT_FALSE(ota.empty());
    EXPECT_GT(logCount("tar czf /data/persist_log/kavel30/kavel_masked_system@"), 0U);
    for (const std::string& line : logLines()) EXPECT_EQ(line.find(ota), std::string::npos) << line;
}

// A name that runs, or that costs the catch.
TEST_F(ReportTest, HostileNamesAreCaughtLiterally) {
    const struct {
        const char* event;
        const char* process;
        const char* folder;  // what "/" in a name becomes
    } kCases[] = {
            {"semicolon", "a;touch /data/pwned;b", "a;touch _data_pwned;b"},
            {"command", "$(touch /data/pwned)", "$(touch _data_pwned)"},
            {"backquote", "`touch /data/pwned`", "`touch _data_pwned`"},
            {"quote", "it's \"a\" \\n|& >x <y *", "it's \"a\" \\n|& >x <y *"},
    };
    for (const auto& hostile : kCases) {
        configure("0x3", hostile.event, "100");
        send({"0x3", "--log-info", "prop", "--process", hostile.process, "--version", "1"});
        const tools::ArchiveContents caught =
                awaitArchive(std::string("kavel_") + hostile.event + "_" + hostile.folder + "@");
        EXPECT_EQ(caught.broken, "");
        EXPECT_EQ(caught.extraInfo,
                  std::string("[PackageName]:") + hostile.process + "\n[PackageVersion]:1\n");
        EXPECT_TRUE(holds(caught, "prop-"));
    }
    EXPECT_NE(access("/data/pwned", F_OK), 0);
}

}  // namespace
}  // namespace android::kavel::test
