// Would catch a file that grows without end, one that is cut too early or within a line, newest
// lines that are lost, another mode, a temporary file that stays, a file that is lost if it cannot
// be replaced, and one behind a link that is replaced.

#include "core/PlxFile.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

// Files are compared as one truth value: a difference of a megabyte takes a minute to print.

/** Numbered lines, the newest last, of @p size bytes together. */
std::string linesOf(size_t size) {
    std::string text;
    for (int i = 1; text.size() < size; ++i) text += "logType:" + std::to_string(i) + "\n";
    text.resize(size - 1);
    return text + "\n";
}

TEST(PlxFile, KeepsItsNewestLines) {
    const test::TempDir directory;
    const std::string full = linesOf(kMaxPlxFile);
    const std::string path = directory.write("plx.txt", full);
    fs::permissions(path, fs::perms(0640));
    trimPlxFile(path);
    EXPECT_TRUE(test::contentOf(path) == full);

    const std::string tooLong = linesOf(kMaxPlxFile + 1);
    directory.write("plx.txt", tooLong);
    directory.write("plx.txt.new", "of a daemon that died");
    trimPlxFile(path);
    const std::string kept = test::contentOf(path);
    EXPECT_LE(kept.size(), size_t{kMaxPlxFile} / 2);
    EXPECT_GT(kept.size(), size_t{kMaxPlxFile} / 2 - 20);
    EXPECT_TRUE(tooLong.substr(tooLong.size() - kept.size() - 1) == "\n" + kept);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
    EXPECT_FALSE(fs::exists(path + ".new"));

    directory.write("plx.txt", std::string(kMaxPlxFile + 1, 'x'));
    trimPlxFile(path);
    EXPECT_EQ(fs::file_size(path), size_t{kMaxPlxFile} / 2) << "not a line in it";
}

TEST(PlxFile, IsWholeOrAsItWas) {
    fake::captureLog();
    const test::TempDir directory;
    const std::string tooLong = linesOf(kMaxPlxFile + 1);
    const std::string path = directory.write("plx.txt", tooLong);
    fs::create_directory(path + ".new");
    fake::clearLog();
    trimPlxFile(path);
    EXPECT_TRUE(test::contentOf(path) == tooLong);
    EXPECT_EQ(fake::logCount("plx.txt stays as it is, errno"), 1U);

    fs::create_symlink(path, directory / "link");
    trimPlxFile(directory / "link");
    trimPlxFile(directory / "missing");
    EXPECT_TRUE(fs::is_symlink(directory / "link"));
    EXPECT_TRUE(test::contentOf(path) == tooLong);
    EXPECT_EQ(fake::logCount("stays as it is"), 1U);
}

}  // namespace
}  // namespace android::kavel
