// The start of a daemon after one that was killed.

#include <csignal>
#include <filesystem>

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "dump/LogFolderName.h"
#include "event/IKavelBinder.h"
#include "tests/sandbox/PhoneSession.h"

namespace fs = std::filesystem;

namespace android::kavel::test {
namespace {

bool restartsFrom(int pid) {
    return eventually([&] {
               const int now = daemonPid();
               return now != 0 && now != pid;
           }) &&
           daemonIsUp();
}

// Would catch a log folder that is lost if the daemon dies in its window, and a start that packs
// foreign folders.
TEST(RestartTest, FoldersOfAKilledDaemonArePacked) {
    ASSERT_TRUE(daemonIsUp());
    const fs::path staging = kLogFolderRoot;
    const std::string emptyFolder = "kavel_empty_system@831be687eb45bbc0@@2024-03-07-09-05-02-007";
    fs::create_directory(staging / emptyFolder);
    fs::create_directory(staging / "kavel_foreign");
    ASSERT_EQ(run({"kavelctl", "set", "0x999", "--name", "killed", "--window", "3600000"}).status,
              0);
    ASSERT_EQ(run({"kavelctl", "send", "0x999", "--log-info", "prop"}).status, 0);
    ASSERT_TRUE(eventually([&] {
        const auto folders = stagedFolders("kavel_killed_");
        return folders.size() == 1 && fs::exists(staging / folders[0] / "kavel_history.txt");
    }));

    const int pid = daemonPid();
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    ASSERT_TRUE(restartsFrom(pid));
    const tools::ArchiveContents killed = awaitArchive("kavel_killed_system@");
    EXPECT_EQ(killed.broken, "");
    EXPECT_TRUE(holds(killed, "kavel_history.txt"));
    EXPECT_TRUE(eventually([&] { return !fs::exists(staging / emptyFolder); }));
    EXPECT_TRUE(fs::exists(staging / "kavel_foreign"));

    ASSERT_EQ(run({"kavelctl", "set", "0x998", "--name", "later", "--window", "1000"}).status, 0);
    ASSERT_EQ(run({"kavelctl", "send", "0x998", "--log-info", "prop"}).status, 0);
    EXPECT_TRUE(holds(awaitArchive("kavel_later_system@"), "prop-"));
}

// Would catch an interrupted big dump that is not packed.
TEST(RestartTest, InterruptedDumpIsRepackedAtTheNextStart) {
    ASSERT_TRUE(daemonIsUp());
    EXPECT_EQ(logCount("repackonly=true"), 0U);
    ASSERT_EQ(run({"setprop", "persist.sys.kvl.dumping", "true"}).status, 0);
    const int pid = daemonPid();
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    ASSERT_TRUE(restartsFrom(pid));
    EXPECT_TRUE(eventually([] { return logCount("repackonly=true") == 1; }));
}

// Would catch a log-info word that is truncated to 32 bits.
TEST(RestartTest, LogInfoThatDoesNotFitEndsTheDaemonWithALine) {
    ASSERT_TRUE(daemonIsUp());
    const int pid = daemonPid();
    const sp<IKavelBinder> service = IKavelBinder::asInterface(
            defaultServiceManager()->checkService(String16(KAVEL_BINDER_SERVICE_NAME)));
    ASSERT_NE(service, nullptr);
    service->sendFrameworkEvent(0x999, 0, 1L << 32, 1, 1, String16(""));
    ASSERT_TRUE(restartsFrom(pid));
    EXPECT_EQ(logCount("logInfo 4294967296 does not fit a 32-bit integer, aborting"), 1U);
}

}  // namespace
}  // namespace android::kavel::test
