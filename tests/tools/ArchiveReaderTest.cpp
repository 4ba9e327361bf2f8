// Would catch files that are lost, misnamed or measured wrongly; a reader that trusts the start of
// a file, that blocks on a FIFO, or that calls broken, or whole, what it has not read to its end;
// the texts of a catch in a sub-folder in place of the archive's own; texts and lists that grow
// with a hostile archive.

#include "tools/ArchiveReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <random>

#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

const std::string kFolder = "kavel_anr_a@831be687eb45bbc0@V@2024-03-07-09-05-02-007";

/** Text that hardly packs, so that a cut in the middle hits a file's data. */
std::string noise() {
    std::string text(20000, ' ');
    std::generate(text.begin(), text.end(), std::minstd_rand());
    return text;
}

class ArchiveReader : public testing::Test {
  protected:
    ArchiveContents read(const std::string& name, const std::string& bytes,
                         uint64_t limit = UINT64_MAX) const {
        return readArchive(folder.write(name, bytes), limit);
    }

    const test::TempDir folder;
    const std::string tar = tarBytes(kFolder, {{"kavel_history.txt", "line 1\nline 2\n"},
                                               {"extraInfo.txt", ""},
                                               {"android-1.txt", noise()},
                                               {"deep/x.txt", "abc"}});
};

TEST_F(ArchiveReader, ReadsASoundArchiveUpToItsLimit) {
    const std::string packed = gzipBytes(tar);
    for (const uint64_t limit : {uint64_t{2048}, tar.size() - 1, tar.size()}) {
        const ArchiveContents contents = read(kFolder + ".tar.gz", packed, limit);
        EXPECT_EQ(contents.archiveSize, packed.size());
        EXPECT_EQ(contents.isPartial, limit < tar.size());
        EXPECT_EQ(contents.broken, "");
        ASSERT_EQ(contents.fileCount, limit == 2048 ? 3U : 4U);
        EXPECT_EQ(contents.files[2].name, "android-1.txt");
        EXPECT_EQ(contents.files[2].size, noise().size());
    }
}

TEST_F(ArchiveReader, MarksWhatDoesNotReadBack) {
    const std::string packed = gzipBytes(tar);
    std::string wrongChecksum = packed;
    wrongChecksum[packed.size() - 6] = static_cast<char>(wrongChecksum[packed.size() - 6] ^ 1);
    const std::string noTar = "not a valid tar archive: it ";
    const struct {
        std::string bytes;
        std::string reason;
        std::optional<uint64_t> filesRead;  ///< nothing where it hangs on zlib's buffering
    } cases[] = {
            {packed.substr(0, packed.size() / 2), "the file is cut off", 3},
            {packed.substr(0, packed.size() - 3), "the file is cut off", 4},
            {packed.substr(0, 3), "the file is cut off", 0},
            {wrongChecksum, "damaged gzip data: incorrect data check", {}},
            {"", "the file is empty", 0},
            {tar, "not a gzip file", 4},
            {gzipBytes("hello"), noTar + "ends within a header", 0},
            {gzipBytes(tar.substr(0, tar.size() - 1024)), noTar + "has no end mark", 4},
            {gzipBytes(tar.substr(0, tar.size() / 2)), noTar + "ends within a member", 3},
    };
    for (const auto& each : cases) {
        const ArchiveContents contents = read("broken", each.bytes);
        EXPECT_EQ(contents.broken.rfind(each.reason, 0), 0U) << contents.broken;
        EXPECT_EQ(contents.fileCount, each.filesRead.value_or(contents.fileCount)) << each.reason;
    }
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(readArchive(folder / "fifo", 1).broken, "not a regular file");
    EXPECT_EQ(readArchive(folder / "none", 1).broken, "No such file or directory");
}

TEST_F(ArchiveReader, TakesItsOwnTextsBeforeThoseOfSubfolders) {
    const std::string packed = gzipBytes(tarBytes(kFolder, {{"a/kavel_history.txt", "theirs"},
                                                            {"a/extraInfo.txt", "theirs"},
                                                            {"a/kavel_events.txt", "1"},
                                                            {"b/kavel_events.txt", "2\n"},
                                                            {"kavel_events.txt", "own 1\nown 2\n"},
                                                            {"extraInfo.txt", "own"},
                                                            {"kavel_history.txt", "own"},
                                                            {"kavel_history.txt", "second"},
                                                            {"extraInfo.txt", "second"},
                                                            {"c/kavel_events.txt", "3"}}));
    for (const char* name : {".tar.gz", ".2.tar.gz", "renamed.tar.gz"}) {
        const ArchiveContents contents = read(kFolder + name, packed);
        EXPECT_EQ(contents.history, "own");
        EXPECT_EQ(contents.extraInfo, "own");
        EXPECT_EQ(contents.events, "own 1\nown 2\n1\n2\n3\n");
        EXPECT_FALSE(contents.hasMoreEvents);
    }
    EXPECT_EQ(read(kFolder + ".2.tar.gz", packed).files[0].name, "a/kavel_history.txt");
}

TEST_F(ArchiveReader, StaysWithinItsBounds) {
    FileTexts files{{"kavel_history.txt", std::string(kMaxText + 1, 'x')},
                    {"kavel_events.txt", std::string(kMaxEventText - 5, 'x') + "\ncut off"}};
    for (size_t i = 0; i < kMaxListedFiles / 8; ++i) files.push_back({std::to_string(i), ""});
    std::string joined;
    // Joined archives without the end marks of all but the last: more files than are listed.
    for (int part = 0; part < 9; ++part) {
        const std::string bytes = tarBytes(kFolder, files);
        joined +=
                part == 8 ? bytes : bytes.substr(0, bytes.find_last_not_of('\0') / 512 * 512 + 512);
    }
    const ArchiveContents contents = read("big", gzipBytes(joined));
    EXPECT_EQ(contents.broken, "");
    EXPECT_EQ(contents.history.size(), kMaxText);
    EXPECT_EQ(contents.events.size(), kMaxEventText - 4);
    EXPECT_TRUE(contents.hasMoreEvents);
    EXPECT_EQ(contents.fileCount, 9 * files.size());
    EXPECT_EQ(contents.files.size(), kMaxListedFiles);
}

}  // namespace
}  // namespace android::kavel::tools
