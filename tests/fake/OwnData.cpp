// Part of each test program that changes /data. Such a program runs only if /data is an empty file
// system in memory, which CTest's command provides.

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
        statfs("/data", &info);
        if (info.f_type == TMPFS_MAGIC && std::filesystem::is_empty("/data")) return;
        fprintf(stderr, "this program changes /data, so it needs its own: run it with ctest\n");
        exit(1);
    }
};

const testing::Environment* const kOwnData = testing::AddGlobalTestEnvironment(new OwnData);

}  // namespace
