// Run where /data is empty and its own: see CMakeLists.txt.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/LeftoverFolders.h"
#include "dump/LogFolderName.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;

const std::string kRoot = kLogFolderRoot;

// Would catch logs of a daemon that was killed and are never packed, folders of others that are,
// and an archive without a folder that is left behind.
TEST(LeftoverFolders, OnlyOursArePackedEmptyOnesRemoved) {
    const auto ours = [](const std::string& process) {
        return kRoot + "/" + logFolderName({"e", process, 1, "", "2024-03-07-09-05-02-007"});
    };
    DumpBench bench;
    packLeftoverFolders();  // no staging directory at all
    for (const std::string& folder :
         {ours("full;x"), ours("cut"), ours("empty"), kRoot + "/wxlog"}) {
        fs::create_directories(folder);
        if (folder != ours("empty")) test::makeFile(folder + "/log.txt");
    }
    test::makeFile(ours("cut") + ".tar.gz");   // cut short: its folder is still there
    test::makeFile(ours("done") + ".tar.gz");  // only the move was missing
    test::makeFile(ours("a file"));
    fs::create_directory(ours("folder") + ".tar.gz");
    test::makeFile(kRoot + "/other.tar.gz");
    fs::create_directory_symlink("/usr", ours("link"));

    fake::resetShell([&](const std::string& command) {
        // What the real commands do to the archive of the folder that still stands.
        if (command == "mv " + ours("cut") + ".tar.gz " + kArchiveDirectory) {
            fs::remove(ours("cut") + ".tar.gz");
        }
        return 0;
    });
    packLeftoverFolders();
    EXPECT_TRUE(fake::awaitLog("[dravo_kavel packLeftoverFolders]: done,"));
    EXPECT_EQ(fake::logCount("done, 3 folders, 2 archives.\n"), 1U);
    EXPECT_FALSE(fs::exists(ours("empty")));
    const auto packs = [](const std::string& f) {
        return std::vector<std::string>{
                "tar czf " + f + ".tar.gz " + f + "/* && chown system:system " + f + ".tar.gz",
                "mv " + f + ".tar.gz " + kArchiveDirectory, "rm -rf " + f};
    };
    std::vector<std::string> expected = packs("'" + ours("full;x") + "'");
    for (const std::string& command : packs(ours("cut"))) expected.push_back(command);
    expected.push_back("mv " + ours("done") + ".tar.gz " + kArchiveDirectory);
    EXPECT_THAT(fake::commands(), testing::UnorderedElementsAreArray(expected));
    fs::remove_all(kRoot);
}

}  // namespace
}  // namespace android::kavel
