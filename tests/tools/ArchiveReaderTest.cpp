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

ArchiveContents readAll(const std::filesystem::path& path) {
    return readArchive(path, UINT64_MAX);
}

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
    const ArchiveContents contents = readAll(folder.write(kFolder + ".tar.gz", packed));
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
            {"no tar", gzipBytes("hello"), "not a valid tar archive: it ends within a header", 0},
            {"nothing packed", gzipBytes(""), "not a valid tar archive: it has no end mark", 0},
            {"no end mark", gzipBytes(tar.substr(0, tar.size() - 1024)),
             "not a valid tar archive: it has no end mark", 4},
            {"tar cut", gzipBytes(tar.substr(0, tar.size() / 2)),
             "not a valid tar archive: it ends within a member", 3},
    };
    const test::TempDir folder;
    for (const auto& each : cases) {
        const ArchiveContents contents = readAll(folder.write(each.name, each.bytes));
        EXPECT_EQ(contents.broken.rfind(each.reason, 0), 0U)
                << each.name << ": " << contents.broken;
        EXPECT_EQ(contents.fileCount, each.filesRead.value_or(contents.fileCount)) << each.name;
    }
}

// Catches a reader that blocks on a FIFO or falls over what is no file.
TEST(ArchiveReader, RefusesWhatIsNoFile) {
    const test::TempDir folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(readAll(folder / "fifo").broken, "not a regular file");
    EXPECT_EQ(readAll(folder / "").broken, "not a regular file");
    EXPECT_EQ(readAll(folder / "none").broken, "No such file or directory");
}

// Catches an archive that costs a list seconds because it unpacks to a thousand times its size, and
// one that is called broken, or whole, although it was not read to its end.
TEST(ArchiveReader, StopsAtItsLimit) {
    const test::TempDir folder;
    const std::string tar = goodTar();
    const std::string file = folder.write("large", gzipBytes(tar));
    for (const uint64_t limit : {uint64_t{2048}, tar.size() - 1}) {
        const ArchiveContents part = readArchive(file, limit);
        EXPECT_TRUE(part.isPartial);
        EXPECT_EQ(part.broken, "");
        EXPECT_EQ(part.fileCount, limit == 2048 ? 3U : 4U);
    }
    EXPECT_FALSE(readArchive(file, tar.size()).isPartial);
}

// Catches the texts of a catch in a sub-folder, which tar puts first, in place of the archive's
// own.
TEST(ArchiveReader, TakesItsOwnTextsBeforeThoseOfSubfolders) {
    const test::TempDir folder;
    const std::string tar = tarBytes(kFolder, {{"a/kavel_history.txt", "theirs"},
                                               {"a/kavel_events.txt", "1"},
                                               {"b/kavel_events.txt", "2\n"},
                                               {"kavel_events.txt", "own 1\nown 2\n"},
                                               {"kavel_history.txt", "own"}});
    for (const char* name : {".tar.gz", ".2.tar.gz", "renamed.tar.gz"}) {
        const ArchiveContents contents = readAll(folder.write(kFolder + name, gzipBytes(tar)));
        EXPECT_EQ(contents.history, "own");
        EXPECT_EQ(contents.events, "own 1\nown 2\n1\n2\n");
        EXPECT_FALSE(contents.hasMoreEvents);
    }
    EXPECT_EQ(readAll(folder / (kFolder + ".2.tar.gz")).files[0].name, "a/kavel_history.txt");
}

// Catches texts and listings that grow with a hostile archive.
TEST(ArchiveReader, StaysWithinItsBounds) {
    FileTexts files{{"kavel_history.txt", std::string(kMaxText + 1, 'x')},
                    {"kavel_events.txt", std::string(kMaxEventText - 5, 'x') + "\ncut off"}};
    for (size_t i = 0; i < kMaxListedFiles / 8; ++i) files.push_back({std::to_string(i), ""});
    std::string tar;
    // Joined archives without the end marks of all but the last: more files than are listed.
    for (int part = 0; part < 9; ++part) {
        const std::string bytes = tarBytes(kFolder, files);
        tar += part == 8 ? bytes : bytes.substr(0, bytes.find_last_not_of('\0') / 512 * 512 + 512);
    }
    const test::TempDir folder;
    const ArchiveContents contents = readAll(folder.write("big", gzipBytes(tar)));
    EXPECT_EQ(contents.broken, "");
    EXPECT_EQ(contents.history.size(), kMaxText);
    EXPECT_EQ(contents.events.size(), kMaxEventText - 4);
    EXPECT_TRUE(contents.hasMoreEvents);
    EXPECT_EQ(contents.fileCount, 9 * files.size());
    EXPECT_EQ(contents.files.size(), kMaxListedFiles);
}

}  // namespace
}  // namespace android::kavel::tools
