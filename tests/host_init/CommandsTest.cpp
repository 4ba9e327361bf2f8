#include "host/init/Commands.h"

#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace android::kavel::host {
namespace {

std::string run(std::vector<std::string> words) {
    return runCommand({std::move(words), "t.rc:1"}, {});
}

// Would catch a second boot that fails on, or leaves alone, the folders of the first one, modes cut
// by the umask, and a copy that truncates through a link out of the phone.
TEST(RcCommands, SecondBootFindsItsOwn) {
    const TemporaryDir dir;
    const std::string folder = std::string(dir.path) + "/d";
    for (const auto& [word, mode] : {std::pair{"0777", 0777U}, {"0751", 0751U}}) {
        EXPECT_EQ(run({"mkdir", folder, word, "root", "root", "encryption=Require"}), "");
        struct stat status {};
        EXPECT_EQ(stat(folder.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
    EXPECT_EQ(run({"copy", "/proc/self/comm", folder + "/copy"}), "");
    ASSERT_EQ(symlink("copy", (folder + "/link").c_str()), 0);
    EXPECT_NE(run({"copy", "/dev/null", folder + "/link"}), "");
}

}  // namespace
}  // namespace android::kavel::host
