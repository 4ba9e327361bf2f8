// The tests of this program empty /data, so they run only where it is their own: an empty file
// system in memory, which CTest's command gives them.

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/vfs.h>

#include <linux/magic.h>

namespace {

class OwnData : public testing::Environment {
  public:
    void SetUp() override {
        struct statfs info = {};
        if (statfs("/data", &info) == 0 && info.f_type == TMPFS_MAGIC &&
            std::filesystem::is_empty("/data")) {
            return;
        }
        fprintf(stderr,
                "dump_data_test empties /data and has none of its own here: "
                "run ctest -R dump_data_test\n");
        exit(1);
    }
};

const testing::Environment* const kOwnData = testing::AddGlobalTestEnvironment(new OwnData);

}  // namespace
