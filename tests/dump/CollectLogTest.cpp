#include <algorithm>

#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCommands.h"
#include "platform/Clock.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

using test::DumpBench;

void collect(uint32_t logInfo, int32_t recordId = DumpBench::kRecordId) {
    KavelDumpUtilThread::collectLog(static_cast<int>(logInfo), "/data/F", recordId);
}

long linesIn(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

// Catches work that nobody asked for, and a catch that starts for a record that is gone.
TEST(CollectLog, NothingIsStartedForAnEmptyMaskOrAnUnknownRecord) {
    DumpBench bench;
    const CatchRef running = bench.add(0x004, 0);
    collect(0);
    EXPECT_EQ(bench.takeTranscript(), "");
    EXPECT_EQ(bench.context().captures.mask(), 0U);
    collect(0x3, 12345);
    EXPECT_EQ(bench.takeTranscript(),
              "E [dravo_kavel collectLog]: no event 12345 to collect for.\n");
    EXPECT_EQ(bench.context().catches.size(), 1U);
}

// Catches a limit that is kept per event, per dump or by ">=", and a skipped dump that counts.
TEST(CollectLog, HeavyDumpsOnceInThirtySecondsForAllEvents) {
    DumpBench bench;
    constexpr uint32_t kWindow = 0x8000000;
    const CatchRef first = bench.add(0x999, kWindow, {}, 1);
    const CatchRef second = bench.add(0x998, kWindow, {}, 2);
    const struct {
        int64_t us;  ///< since the last turn
        uint32_t mask;
        long heavyCommands;
    } kSteps[] = {
            {0, kWindow, 1},
            {0, kWindow, 0},
            {30'000'000, kWindow | 0x4400000, 0},  // exactly 30,000,000,000 ns
            {30'000'001, kWindow | 0x4400000 | 0x2, 4},
    };
    for (const auto& step : kSteps) {
        fake::resetTime(DumpBench::kStartUs + step.us);
        collect(step.mask, step.us == 0 && step.heavyCommands == 1 ? 1 : 2);
        const long light = (step.mask & 0x2) != 0 ? 1 : 0;
        EXPECT_EQ(linesIn(bench.takeTranscript()), step.heavyCommands + light) << step.us;
        if (step.heavyCommands == 0) {
            EXPECT_EQ(second->event->collected, 0U);
        }
    }
    EXPECT_EQ(first->event->collected, kWindow);
    EXPECT_EQ(second->event->collected, kWindow | 0x4400002);
    // A catch without heavy dumps must not use up the turn.
    fake::resetTime(DumpBench::kStartUs + 100'000'000);
    collect(0x2, 1);
    collect(0x8000000, 1);
    EXPECT_EQ(linesIn(bench.takeTranscript()), 2);
}

// Catches a missing or wrong row of the two trace tables, and a trace taken for the wrong event.
TEST(CollectLog, TraceTables) {
    const struct {
        int64_t eventId;
        long framework, native;
    } kCases[] = {
            {0x004, 0x10004001, 0}, {0x101, 0x10004002, 0}, {0x103, 0x10004007, 0},
            {0x702, 0x1000400B, 0}, {0x602, 0x1000400D, 0}, {0x705, 0x1000400E, 0},
            {0x704, 0x1000400F, 0}, {0x301, 0, 0x10004010}, {0x302, 0, 0x10004011},
            {0x201, 0, 0x10004012}, {0x202, 0, 0x10004013}, {0x003, 0, 0},
            {0x102, 0, 0},          {0x999, 0, 0},          {0xF01, 0, 0},
    };
    for (const auto& c : kCases) {
        const TraceEvent* const framework = findFrameworkTraceEvent(c.eventId);
        const TraceEvent* const native = findNativeTraceEvent(c.eventId);
        EXPECT_EQ(framework == nullptr ? 0 : framework->traceCode, c.framework) << c.eventId;
        EXPECT_EQ(native == nullptr ? 0 : native->traceCode, c.native) << c.eventId;

        DumpBench bench;
        const CatchRef running = bench.add(c.eventId, 0);
        collect(0x22000000);
        EXPECT_EQ(bench.context().captures.mask(), c.framework == 0 ? 0U : 0x20000000U);
        EXPECT_EQ(
                fake::logCount("[tagL]: callFrameworkDumpSystrace:" + std::to_string(c.framework)),
                c.framework == 0 ? 0U : 1U);
        EXPECT_EQ(fake::logCount("callNativeDumpSystrace:"), c.native == 0 ? 0U : 1U);
        EXPECT_EQ(bench.context().captures.timeOf(0x20000000),
                  c.framework == 0 ? 0 : DumpBench::kStartUs * 1000);
    }
}

// Catches a pack that waits in vain, or does not wait: which masks can ever be complete.
TEST(VerifyLogIntegrity, ComparesWhatWasAskedForWithWhatReported) {
    const struct {
        uint32_t logInfo, collected;
        bool isComplete;
    } kCases[] = {
            {0, 0, true},        {0x1003, 0x1003, true}, {0x40, 0x20, false},
            {0x60, 0x20, false}, {0x6, 0x2, false},      {0x10000000, 0, false},
    };
    for (const auto& c : kCases) {
        DumpBench bench([](const std::string&) { return 256; });  // failed commands count too
        const CatchRef running = bench.add(0x999, c.logInfo);
        collect(c.logInfo);
        bench.settle();
        EXPECT_EQ(running->event->collected, c.collected);
        EXPECT_EQ(KavelDumpUtilThread::verifyLogIntegrity(DumpBench::kRecordId), c.isComplete);
        EXPECT_FALSE(KavelDumpUtilThread::verifyLogIntegrity(12345));
        running->event->collected |= 0x80000;
        EXPECT_FALSE(KavelDumpUtilThread::verifyLogIntegrity(DumpBench::kRecordId)) << "too much";
    }
}

// Catches a command whose end is not logged with its status, or whose holder lives for ever.
TEST(CollectLog, CommandIsLoggedWithItsStatusAndReleasesTheCatch) {
    DumpBench bench([](const std::string&) { return 32512; });
    CatchRef running = bench.add(0x999, 0x2);
    collect(0x2);
    running.reset();
    bench.settle();
    EXPECT_EQ(fake::logCount("[dravo_kavel collectLogWithCmdExeceteThread]: dmesg > "
                             "/data/F/kernel-2024-03-07-09-05-02-007.txt, ret is: 32512\n"),
              1U);
    EXPECT_EQ(bench.context().catches.size(), 0U);
}

}  // namespace
}  // namespace android::kavel
