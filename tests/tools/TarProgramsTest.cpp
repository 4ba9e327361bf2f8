// Archives of the programs that make them: toybox on the phone, GNU tar on a desktop.

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "tests/fake/TempDir.h"
#include "tools/ArchiveReader.h"

namespace android::kavel::tools {
namespace {

namespace fs = std::filesystem;

// Catches a program's way to write long names, links and directories that is not understood.
TEST(TarPrograms, TheirArchivesAreRead) {
    const test::TempDir folder;
    const std::string component(120, 'n');
    const std::string deep = "f/" + component + "2/" + component;
    const std::set<std::string> names = {"f/a",    "f/" + component, deep + "/" + component,
                                         "f/link", "f/\xc3\xa4 b",   "f/hard"};
    fs::create_directories(folder / deep);
    fs::create_directories(folder / "f/empty");
    for (const std::string& name : names) {
        if (name != "f/link" && name != "f/hard") folder.write(name, std::string(name.size(), 'x'));
    }
    fs::create_symlink(std::string(200, 't'), folder / "f/link");
    fs::create_hard_link(folder / ("f/" + component), folder / "f/hard");
    for (const std::string program :
         {"toybox tar c", "tar c", "tar c --format=oldgnu", "tar c --format=posix"}) {
        const std::string command =
                "cd '" + std::string(folder / "") + "' && rm -f x && " + program + " f/* | gzip >x";
        ASSERT_EQ(system(command.c_str()), 0) << program;
        const ArchiveContents contents = readArchive(folder / "x", UINT64_MAX);
        EXPECT_EQ(contents.broken, "") << program;
        std::set<std::string> found;
        for (const ArchivedFile& file : contents.files) {
            found.insert(file.name);
            const bool isLink = file.size == 0;  // of two hard links, either may be the file
            EXPECT_TRUE(isLink || file.name == "f/hard" || file.size == file.name.size())
                    << program << ": " << file.name << " " << file.size;
        }
        EXPECT_EQ(found, names) << program;
    }
}

}  // namespace
}  // namespace android::kavel::tools
