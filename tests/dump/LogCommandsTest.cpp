#include "dump/LogCommands.h"

#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Would catch a row whose tag bit was "mended", and trace bits that someone makes count as
// collected.
TEST(LogCommands, BitsThatCanBeReportedAsCollected) {
    const struct {
        uint32_t logInfo, bits;
    } kCases[] = {
            {0, 0},
            {0x1, 0x1},
            {0x40, 0x20},
            {0x20, 0x20},
            {0x60, 0x20},
            {0x7FFFFFFF, 0x0DFFFFBB},
            {0x4 | 0x2000000 | 0x10000000 | 0x20000000 | 0x40000000, 0},
            {0x0C400000, 0x0C400000},
    };
    for (const auto& c : kCases) EXPECT_EQ(collectableBits(c.logInfo), c.bits) << c.logInfo;
    for (const LogBit& bit : kLogBits) {
        const bool isTrace = (bit.bit & (0x4 | 0x2000000 | 0x10000000 | 0x20000000 | 0x40000000));
        EXPECT_EQ(collectableBits(bit.bit), isTrace ? 0 : bit.bit == 0x40 ? 0x20 : bit.bit);
    }
}

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
