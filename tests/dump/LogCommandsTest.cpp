#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Would catch a command whose end is not logged with its status, or whose holder lives for ever.
TEST(LogCommands, EachIsLoggedWithItsStatusAndReleasesTheCatch) {
    DumpBench bench([](const std::string&) { return 32512; });
    CatchRef running = bench.add(0x999, 0x2);
    KavelDumpUtilThread::collectLog(0x2, "/data/F", DumpBench::kRecordId);
    running.reset();
    bench.settle();
    EXPECT_EQ(fake::logCount("[dravo_kavel collectLogWithCmdExeceteThread]: dmesg > "
                             "/data/F/kernel-2024-03-07-09-05-02-007.txt, ret is: 32512\n"),
              1U);
    EXPECT_EQ(bench.context().catches.size(), 0U);
}

}  // namespace
}  // namespace android::kavel
