// The whole path of a report, in a phone whose waits are twenty times shorter.

#include <gtest/gtest.h>

#include "dump/LogCommands.h"
#include "tests/sandbox/PhoneSession.h"
#include "tools/ArchiveName.h"

namespace android::kavel::test {
namespace {

class ReportTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(daemonIsUp()); }
};

// Would catch a second event of a window that gets its own folder or loses its logs, and an
// abnormal action that joins the window.
TEST_F(ReportTest, CombinedReportsShareAnArchiveAndAbnormalActionsGetTheirOwn) {
    configureEvent("0xF03", {"--name", "forced", "--window", "80000"});
    tools::ArchiveContents joined;
    // On a busy machine, the window may be over before the second event: then a longer one.
    for (const std::string window : {"80000", "600000", "2400000"}) {
        const std::string name = window == "80000" ? "joined" : "joined" + window;
        configureEvent("0x999", {"--name", name, "--window", window});
        sendEvent("0x999", {"--log-info", "android,meminfo"});
        sendEvent("0x999", {"--log-info", "proc_meminfo"});
        if (window == "80000") sendEvent("0xF03", {"--log-info", "prop"});
        const std::string prefix = "kavel_" + name + "_";
        EXPECT_TRUE(eventually(
                [&] { return !archives(prefix).empty() && stagedFolders(prefix).empty(); }));
        if (archives(prefix).size() > 1) continue;
        joined = awaitArchive(prefix);
        if (tools::parseHistory(joined.history).size() == 2) break;
    }
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

// Would catch a command that does not run, a file with another name, and a wrong history line or
// extra info.
TEST_F(ReportTest, ArchiveHoldsWhatTheMaskSelects) {
    constexpr uint32_t kMask = 0xB5FB99;
    configureEvent("0x3", {"--name", "anr", "--window", "80000"});
    sendEvent("0x3", {"--log-info", std::to_string(kMask), "--process", "com.example.app",
                      "--version", "1.2.3"});

    const tools::ArchiveContents anr = awaitArchive("kavel_anr_com.example.app@");
    ASSERT_EQ(anr.broken, "");
    for (const LogCommand& command : kLogCommands) {
        if ((kMask & command.testBit) == 0) continue;
        EXPECT_TRUE(holds(anr, command.stem + 1)) << command.stem;
    }
    EXPECT_EQ(anr.extraInfo, "[PackageName]:com.example.app\n[PackageVersion]:1.2.3\n");

    const auto name = parseArchiveName(archives("kavel_anr_").front());
    const std::vector<tools::HistoryLine> history = tools::parseHistory(anr.history);
    ASSERT_EQ(history.size(), 1U) << anr.history;
    EXPECT_EQ(history[0].eventName, "anr");
    EXPECT_EQ(history[0].time, name->timeText);
    EXPECT_EQ(history[0].logInfo, kMask);
}

// Would catch a log line that shows the OTA version.
TEST_F(ReportTest, NoLineShowsTheOtaVersion) {
    configureEvent("0x998", {"--name", "masked", "--window", "1000"});
    sendEvent("0x998", {"--log-info", "prop"});
    EXPECT_EQ(awaitArchive("kavel_masked_system@").broken, "");
    std::string ota = run({"getprop", "ro.build.version.ota"}).output;
    ota.erase(ota.find_last_not_of('\n') + 1);
    ASSERT_FALSE(ota.empty());
    EXPECT_GT(logCount("tar czf /data/persist_log/kavel30/kavel_masked_system@"), 0U);
    for (const std::string& line : logLines()) EXPECT_EQ(line.find(ota), std::string::npos) << line;
}

// Would catch a name that is run as a command, and a catch that is lost because of its name.
TEST_F(ReportTest, HostileNameIsCaughtLiterally) {
    const std::string process = "a;touch /data/pwned;$(touch /data/pwned)`id`'\"\\n|& >x <y *";
    configureEvent("0x3", {"--name", "hostile", "--window", "100"});
    sendEvent("0x3", {"--log-info", "prop", "--process", process, "--version", "1"});
    const tools::ArchiveContents caught = awaitArchive("kavel_hostile_a;touch _data_pwned;$(");
    EXPECT_EQ(caught.broken, "");
    EXPECT_EQ(caught.extraInfo, "[PackageName]:" + process + "\n[PackageVersion]:1\n");
    EXPECT_TRUE(holds(caught, "prop-"));
    EXPECT_NE(access("/data/pwned", F_OK), 0);
}

}  // namespace
}  // namespace android::kavel::test
