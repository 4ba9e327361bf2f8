#include "tools/ArchiveReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>
#include <random>

#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

const std::string kFolder = "kavel_anr_a@831be687eb45bbc0@V@2024-03-07-09-05-02-007";

std::string goodTar() {
    // Text that hardly packs, so that a cut in the middle hits a file's data.
    std::string noise;
    std::minstd_rand random;
    for (int i = 0; i < 20000; ++i) noise += static_cast<char>('!' + random() % 90);
    return tarBytes(kFolder, {{"kavel_history.txt", "line 1\nline 2\n"},
                              {"extraInfo.txt", ""},
                              {"android-1.txt", noise},
                              {"deep/x.txt", "abc"}});
}

// Catches files that are lost, misnamed or measured wrongly, and texts that are not read.
TEST(ArchiveReader, ReadsASoundArchive) {
    const test::TempDir folder;
    const std::string packed = gzipBytes(goodTar());
    const ArchiveContents contents = readArchive(folder.write(kFolder + ".tar.gz", packed));
    EXPECT_EQ(contents.broken, "");
    EXPECT_EQ(contents.archiveSize, packed.size());
    EXPECT_EQ(contents.history, "line 1\nline 2\n");
    EXPECT_TRUE(contents.hasExtraInfo);
    EXPECT_EQ(contents.extraInfo, "");
    ASSERT_EQ(contents.fileCount, 4U);
    EXPECT_EQ(contents.files[2].name, "android-1.txt");
    EXPECT_EQ(contents.files[2].size, 20000U);
    EXPECT_EQ(contents.files[3].name, "deep/x.txt");
}

// Catches a reader that trusts the start of a file: each of these looks fine at first.
TEST(ArchiveReader, MarksWhatDoesNotReadBack) {
    const std::string tar = goodTar();
    const std::string packed = gzipBytes(tar);
    std::string wrongChecksum = packed;
    wrongChecksum[packed.size() - 6] = static_cast<char>(wrongChecksum[packed.size() - 6] ^ 1);
    const struct {
        const char* name;
        std::string bytes;
        const char* reason;
        std::optional<uint64_t> filesRead;  ///< nothing where it hangs on zlib's buffering
    } cases[] = {
            {"half", packed.substr(0, packed.size() / 2), "the file is cut off", 3},
            {"no trailer", packed.substr(0, packed.size() - 3), "the file is cut off", 4},
            {"only a header", packed.substr(0, 3), "the file is cut off", 0},
            {"checksum", wrongChecksum, "damaged gzip data: incorrect data check", {}},
            {"empty", "", "the file is empty", 0},
            {"not packed", tar, "not a gzip file", 4},
            {"text", "hello", "not a gzip file", 0},
            {"no tar", gzipBytes("hello"), "not a sound tar archive: ", 0},
            {"nothing packed", gzipBytes(""), "not a sound tar archive: ", 0},
            {"tar cut", gzipBytes(tar.substr(0, tar.size() / 2)), "not a sound tar archive: ", 3},
    };
    const test::TempDir folder;
    for (const auto& each : cases) {
        const ArchiveContents contents = readArchive(folder.write(each.name, each.bytes));
        EXPECT_EQ(contents.broken.rfind(each.reason, 0), 0U)
                << each.name << ": " << contents.broken;
        EXPECT_EQ(contents.fileCount, each.filesRead.value_or(contents.fileCount)) << each.name;
    }
}

// Catches a reader that blocks on a FIFO or falls over what is no file.
TEST(ArchiveReader, RefusesWhatIsNoFile) {
    const test::TempDir folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(readArchive(folder / "fifo").broken, "not a regular file");
    EXPECT_EQ(readArchive(folder / "").broken, "not a regular file");
    EXPECT_EQ(readArchive(folder / "none").broken, "No such file or directory");
}

// Catches texts and listings that grow with a hostile archive.
TEST(ArchiveReader, StaysWithinItsBounds) {
    FileTexts files{{"kavel_history.txt", std::string(kMaxText + 1, 'x')}};
    for (size_t i = 0; i < kMaxListedFiles / 8; ++i) files.push_back({std::to_string(i), ""});
    std::string tar;
    // Joined archives without the end marks of all but the last: more files than are listed.
    for (int part = 0; part < 9; ++part) {
        const std::string bytes = tarBytes(kFolder, files);
        tar += part == 8 ? bytes : bytes.substr(0, bytes.find_last_not_of('\0') / 512 * 512 + 512);
    }
    const test::TempDir folder;
    const ArchiveContents contents = readArchive(folder.write("big", gzipBytes(tar)));
    EXPECT_EQ(contents.broken, "");
    EXPECT_EQ(contents.history.size(), kMaxText);
    EXPECT_EQ(contents.fileCount, 9 * files.size());
    EXPECT_EQ(contents.files.size(), kMaxListedFiles);
}

}  // namespace
}  // namespace android::kavel::tools
