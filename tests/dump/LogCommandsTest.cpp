#include <future>

#include <gtest/gtest.h>

#include "dump/LogCollector.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Would catch a command whose end is not logged with its status, a missing tool without a line,
// and a catch that lives for ever.
TEST(LogCommands, EachIsLoggedWithItsStatusAndReleasesTheCatch) {
    DumpBench bench([](const std::string&) { return 32512; });
    CatchRef running = bench.add(0x999, 0x2, {}, DumpBench::kRecordId, "/data/F");
    collectLog(0x2, running);
    running.reset();
    bench.settle();
    EXPECT_EQ(fake::logCount("[dravo_kavel collectLogWithCmdExeceteThread]: dmesg > "
                             "/data/F/kernel-2024-03-07-09-05-02-007.txt, ret is: 32512\n"),
              1U);
    EXPECT_EQ(fake::logCount("event 0x999 (record 77) lacks a log, status is: 32512: dmesg"), 1U);
    EXPECT_EQ(bench.context().catches.size(), 0U);
}

// Would catch a command that starts in a folder whose pack has begun, while it was queued or
// before.
TEST(LogCommands, NoneStartsOnceThePackHasBegun) {
    DumpBench bench;
    const CatchRef running = bench.add(0x999, 0x3, {}, DumpBench::kRecordId, "/data/F");
    std::promise<void> started;
    std::promise<void> release;
    bench.context().logcatPool.commit([&] {
        started.set_value();
        release.get_future().wait();
    });
    started.get_future().wait();
    collectLog(0x1, running);
    const LogFolderRef folder = running->folder();
    EXPECT_EQ(folder->openWork(), std::vector<std::string>{"android-"});
    EXPECT_TRUE(folder->close());
    EXPECT_FALSE(folder->close());
    release.set_value();
    bench.settle();
    collectLog(0x2, running);
    bench.settle();
    EXPECT_EQ(fake::commandCount(""), 0U);
    EXPECT_EQ(fake::logCount("event 0x999 (record 77) is packed already, not started: logcat -d"),
              1U);
    EXPECT_EQ(fake::logCount("event 0x999 (record 77) is packed already, not started: dmesg"), 1U);
    EXPECT_EQ(running->event->collected, 0U);
    EXPECT_TRUE(folder->openWork().empty());
}

}  // namespace
}  // namespace android::kavel
