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

/** Numbered lines, the newest last, of @p size bytes together. */
std::string linesOf(size_t size) {
    std::string text;
    for (int i = 1; text.size() < size; ++i) text += "logType:" + std::to_string(i) + "\n";
    text.resize(size - 1);
    return text + "\n";
}

TEST(PlxFile, KeepsItsNewestLinesOrStaysAsItIs) {
    constexpr size_t kHalf = size_t{kMaxPlxFile} / 2;
    const std::string tooLong = linesOf(kMaxPlxFile + 1);
    const struct {
        std::string text;
        size_t least, most;  // of what is kept
        bool isFolderInTheWay = false;
        std::string name = "plx.txt";
    } rows[] = {{linesOf(kMaxPlxFile), kMaxPlxFile, kMaxPlxFile},
                {tooLong, kHalf - 20, kHalf},
                {std::string(kMaxPlxFile + 1, 'x'), kHalf, kHalf},     // not a line in it
                {std::string(kMaxPlxFile, 'x') + '\n', kHalf, kHalf},  // one that is too long
                {tooLong, tooLong.size(), tooLong.size(), true},
                {tooLong, tooLong.size(), tooLong.size(), false, "link"}};
    for (const auto& row : rows) {
        const test::TempDir directory;
        const std::string path = directory.write("plx.txt", row.text);
        fs::permissions(path, fs::perms(0640));
        fs::create_symlink(path, directory / "link");
        directory.write("plx.txt.new", "of a daemon that died");
        if (row.isFolderInTheWay) fs::remove(path + ".new") && fs::create_directory(path + ".new");
        fake::captureLog();
        fake::clearLog();
        trimPlxFile(directory / row.name);
        trimPlxFile(directory / "missing");
        // Compared as truth values: a difference of a megabyte takes a minute to print.
        const std::string kept = test::contentOf(path);
        EXPECT_TRUE(kept.size() >= row.least && kept.size() <= row.most) << kept.size();
        EXPECT_TRUE(row.text.substr(row.text.size() - kept.size()) == kept);
        EXPECT_TRUE(kept.size() == row.text.size() || kept[0] == row.text[0]);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
        EXPECT_TRUE(fs::is_symlink(directory / "link"));
        EXPECT_EQ(fs::exists(path + ".new"), kept.size() == row.text.size());
        EXPECT_EQ(fake::logCount("plx.txt stays as it is, errno"), row.isFolderInTheWay ? 1U : 0U);
    }
}

}  // namespace
}  // namespace android::kavel
