#include "handler/HangWarnings.h"

#include <gtest/gtest.h>

#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Would catch a reporting thread that waits, a flood that starts threads without end, and a place
// that is not given back.
TEST(HangWarnings, AsManyWaitAsThereAreRecords) {
    constexpr int kMost = 31;
    DumpBench bench(fake::carryOut);
    fake::onSleep(nullptr);
    fake::holdSleeps(true);
    HangWarnings collector(bench.context());
    int32_t recordId = 1;
    const auto report = [&] {
        collector.collect(bench.add(0x401, 0, {}, recordId)->event);
        ++recordId;
    };
    for (int i = 0; i < kMost + 2; ++i) report();
    fake::awaitSleepers(kMost);
    EXPECT_EQ(fake::logCount("31 hang warnings are waiting already, event "), 2U);
    EXPECT_EQ(fake::commandCount("mkdir /data/persist_log/kavel30/kavel_"), size_t{kMost});
    EXPECT_EQ(bench.context().catches.size(), size_t{kMost});

    fake::advance(300);
    fake::awaitCommands("rm -rf ", kMost);
    while (bench.context().catches.size() > 0) std::this_thread::yield();
    report();
    fake::awaitSleepers(1);
    fake::advance(300);
    fake::holdSleeps(false);
    fake::awaitCommands("rm -rf ", kMost + 1);
    while (bench.context().catches.size() > 0) std::this_thread::yield();
}

}  // namespace
}  // namespace android::kavel
