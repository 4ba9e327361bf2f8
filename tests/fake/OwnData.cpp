// Part of each test program that changes /data. It runs only where that is its own: an empty file
// system in memory, which CTest's command gives it.

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
                "this program changes /data and has none of its own here: run it by ctest\n");
        exit(1);
    }
};

const testing::Environment* const kOwnData = testing::AddGlobalTestEnvironment(new OwnData);

}  // namespace
