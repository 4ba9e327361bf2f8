// Commercial builds and hang warnings, in a phone whose waits are sixty times shorter. The times
// between reports are not scaled.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "tests/sandbox/PhoneSession.h"

namespace android::kavel::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

class CommercialTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(daemonIsUp()); }
};

// Would catch a reporting thread that waits for the files, an empty archive, and files that are not
// packed.
TEST_F(CommercialTest, HangWarningsAreCollectedBesideTheIntake) {
    configureEvent("0x401", {"--name", "hang"});
    configureEvent("0x402", {"--name", "black"});
    const std::string next = "don't catchlog, just return";
    const std::string end = "[dravo_kavel packNwatchcallLog]: rm -rf";
    // The files have five seconds. A busy machine may send the second report later: then once more.
    bool isBeside = false;
    for (size_t round = 1; round <= 5 && !isBeside; ++round) {
        sendEvent("0x401", {});
        sendEvent("0x402", {});
        ASSERT_TRUE(eventually([&] { return logCount(next) == round && logCount(end) == round; }));
        const std::vector<std::string> lines = logLines();
        const auto last = [&](const std::string& text) {
            return std::find_if(lines.rbegin(), lines.rend(), [&](const std::string& line) {
                return line.find(text) != std::string::npos;
            });
        };
        isBeside = last(next) > last(end);
    }
    EXPECT_TRUE(isBeside) << "the intake waits";
    ASSERT_TRUE(eventually([] { return stagedFolders("kavel_hang_").empty(); }));
    EXPECT_TRUE(archives("kavel_hang_").empty());

    std::ofstream("/data/persist_log/PLX/de/kjb_multimedia_perf/x_watchcall_sf_hang.txt") << "x\n";
    sendEvent("0x401", {});
    EXPECT_TRUE(holds(awaitArchive("kavel_hang_system@"), "x_watchcall_sf_hang.txt"));
}

// Would catch an abnormal action without an archive, or without the logs of the event before it; an
// action ten seconds later that is caught, and one half a minute later that is not.
TEST_F(CommercialTest, AbnormalActionsPackTheTechnicalEventsBeforeThem) {
    ASSERT_EQ(run({"setprop", "persist.kavel.user_panic_for_debug", "true"}).status, 0);
    configureEvent("0x3", {"--name", "anr"});
    configureEvent("0xF01", {"--name", "reboot"});
    configureEvent("0xF02", {"--name", "refused"});
    configureEvent("0xF03", {"--name", "shutdown"});

    Clock::time_point sent = Clock::now();
    sendEvent("0x3",
              {"--log-info", "proc_meminfo", "--process", "com.example.app", "--version", "1"});
    ASSERT_TRUE(eventually([] { return stagedFolders("kavel_anr_").size() == 1; }));
    std::this_thread::sleep_until(sent + seconds(10));
    sent = Clock::now();
    sendEvent("0xF01", {"--log-info", "android,kernel,prop"});

    const tools::ArchiveContents reboot = awaitArchive("kavel_reboot_system@");
    ASSERT_EQ(reboot.broken, "");
    EXPECT_TRUE(holds(reboot, "android-"));
    EXPECT_TRUE(holds(reboot, "prop-"));
    EXPECT_TRUE(std::any_of(reboot.files.begin(), reboot.files.end(), [](const auto& file) {
        return file.name.rfind("kavel_anr_com.example.app@", 0) == 0 &&
               file.name.find("/proc_meminfo-") != std::string::npos;
    }));
    EXPECT_TRUE(stagedFolders("kavel_anr_").empty());
    EXPECT_TRUE(archives("kavel_anr_").empty());

    std::this_thread::sleep_until(sent + seconds(10));
    sendEvent("0xF02", {"--log-info", "prop"});
    EXPECT_TRUE(eventually([] {
        return logCount(
                       "[placeKavelEvent]: Event dumped since duplicate abnormal action, "
                       "difftime ") == 1;
    }));
    std::this_thread::sleep_until(sent + seconds(31));
    sendEvent("0xF03", {"--log-info", "prop"});
    EXPECT_TRUE(holds(awaitArchive("kavel_shutdown_system@"), "prop-"));
    EXPECT_TRUE(archives("kavel_refused_").empty());
    EXPECT_TRUE(stagedFolders("kavel_refused_").empty());
}

}  // namespace
}  // namespace android::kavel::test
