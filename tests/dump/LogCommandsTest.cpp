#include "dump/LogCommands.h"

#include <sys/wait.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/HostileValues.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Catches any change of a command's text, order, pool or file name, and a name made at submission.
TEST(LogCommands, AllOfThemRunAsInTheGoldenFile) {
    DumpBench bench;
    const CatchRef running = bench.add(0x999, 0);
    KavelDumpUtilThread::collectLog(0x0DFFFFFB, "/data/F", DumpBench::kRecordId);
    const std::string transcript = bench.takeTranscript();
    EXPECT_NE(transcript, "");
    EXPECT_EQ(transcript, test::contentOf(KAVEL_GOLDEN_DIR "/commands.txt"));
}

// Catches a row that the shell cannot parse, and a folder name that ends its quotes.
TEST(LogCommands, AllAreValidShellForAnyFolder) {
    for (const std::string& name : test::kHostileValues) {
        std::string script;
        for (const LogCommand& command : kLogCommands) {
            script += commandText(command, "/data/" + name) + "2024.txt\n";
        }
        EXPECT_EQ(test::runRealShell(script, {"-n"}), 0) << name;
    }
}

// Catches a row whose tag bit was "mended", and trace bits that someone makes count as collected.
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

}  // namespace
}  // namespace android::kavel
