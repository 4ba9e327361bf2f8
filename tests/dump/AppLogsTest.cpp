#include <filesystem>

#include <android/log.h>
#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/fake/TempDir.h"
#include "tests/fake/FakeLog.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

constexpr uintmax_t kLimit = 0x5000000;

// Catches sub-folders that are counted, links that are not followed, and a 32-bit sum.
TEST(TotalXlogSize, CountsTheRegularFilesRightInTheFolder) {
    const test::TempDir dir;
    EXPECT_EQ(KavelDumpUtilThread::totalXlogSize(dir / ""), 0);
    test::makeFile(dir / "a", kLimit);
    test::makeFile(dir / "b", 1);
    fs::create_directory(dir / "sub");
    test::makeFile(dir / "sub/c", 1000);
    EXPECT_EQ(KavelDumpUtilThread::totalXlogSize(dir / ""), int64_t{kLimit + 1});
    fs::create_symlink(dir / "sub/c", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    EXPECT_EQ(KavelDumpUtilThread::totalXlogSize(dir / ""), int64_t{kLimit + 1001});
    test::makeFile(dir / "huge", uintmax_t{1} << 33);
    EXPECT_GT(KavelDumpUtilThread::totalXlogSize(dir / ""), int64_t{1} << 33);
}

// Catches a path that is no folder and passes for one, or fails without a word.
TEST(TotalXlogSize, SaysWhyThereIsNothingToCount) {
    fake::captureLog();
    const test::TempDir dir;
    test::makeFile(dir / "file", 5);
    const struct {
        std::string path, line;
    } kCases[] = {
            {"", "[dravo_kavel totalXlogSize]: path is empty"},
            {dir / "none", "[dravo_kavel checkPathIsDir]: " + (dir / "none") + " not exist"},
            {dir / "file",
             "[dravo_kavel checkPathIsDir]: " + (dir / "file") + " is not a directory"},
    };
    for (const auto& c : kCases) {
        fake::clearLog();
        EXPECT_EQ(KavelDumpUtilThread::totalXlogSize(c.path), 0);
        ASSERT_EQ(fake::logLines().size(), 1U) << c.path;
        EXPECT_EQ(fake::logLines()[0].text, c.line);
        EXPECT_EQ(fake::logLines()[0].priority, ANDROID_LOG_ERROR);
    }
    std::string directory = dir / "";
    EXPECT_TRUE(checkPathIsDir(directory));
}

}  // namespace
}  // namespace android::kavel
