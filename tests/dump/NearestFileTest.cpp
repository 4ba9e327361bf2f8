#include "dump/NearestFile.h"

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

// Would catch an offset with the wrong sign, a tie that goes to the later entry, and a choice by
// order.
TEST(NearestFile, KeepsTheEntryClosestToTheOffset) {
    constexpr int64_t kEvent = 1'709'802'302;
    const struct {
        const char* what;
        std::vector<int64_t> secondsAfter;
        int64_t offset;
        int chosen;
    } kCases[] = {
            {"none", {}, 10, -1},
            {"one, however far", {86'400}, 10, 0},
            {"9 and 12 s, wanted at 10", {9, 12}, 10, 0},
            {"9 and 12 s, wanted at 2", {9, 12}, 2, 0},
            {"the same from the other end", {12, 9}, 2, 1},
            {"11 and 9 s: the earlier entry stays", {11, 9}, 10, 0},
            {"9 and 11 s: the earlier entry stays", {9, 11}, 10, 0},
            {"exact hit at the end", {-5, 0, 40, 10}, 10, 3},
            {"written before the event", {-100, -3}, 2, 1},
    };
    for (const auto& c : kCases) {
        std::vector<TraceFile> files;
        for (const int64_t after : c.secondsAfter) files.push_back({"f", kEvent + after});
        EXPECT_EQ(nearestFile(files, kEvent, c.offset), c.chosen) << c.what;
    }
    // Without a saved time every real file is further away than the epoch itself.
    EXPECT_EQ(nearestFile({{"f", kEvent}}, 0, 10), -1);
}

}  // namespace
}  // namespace android::kavel
