// Would catch a reporting thread that waits for hang warnings, a flood of them that starts threads
// without end, and a place that is not given back; a command that starts in a folder whose pack has
// begun; a tar ahead of the end of a command; folders of failed packs that pile up, the loss of the
// youngest in place of the oldest, and a start that ends without a thread for them.

#include <filesystem>
#include <future>

#include <gtest/gtest.h>

#include "dump/LeftoverFolders.h"
#include "dump/LogCollector.h"
#include "dump/LogFolderName.h"
#include "dump/TrailLogPack.h"
#include "handler/HangWarnings.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeThreads.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;
using namespace std::chrono_literals;

TEST(HangWarnings, AsManyWaitAsThereAreRecords) {
    constexpr int kMost = 31;
    fake::captureLog();
    fake::clearLog();
    fake::resetShell(fake::carryOut);
    fake::holdSleeps(true);
    EventParameters parameters;
    DumpContext context(parameters);
    HangWarnings collector(context);
    int32_t recordId = 0;
    const auto report = [&] {
        const KavelTimestamp now = {};
        const KavelExtraInfo none;
        const auto event = std::make_shared<KavelEvent>(0x401, &now, 0, 0, 0, &none);
        event->kavelEventId = ++recordId;
        collector.collect(event);
    };
    const auto running = [&] {
        int count = 0;
        for (int id = 1; id <= recordId; ++id) count += context.catches.find(id) != nullptr;
        return count;
    };
    const auto awaitEnd = [&] {
        fake::advance(300);
        EXPECT_TRUE(test::eventually([&] { return running() == 0; }));
    };
    for (int i = 0; i < kMost + 2; ++i) report();
    fake::awaitSleepers(kMost);
    EXPECT_EQ(fake::logCount("31 hang warnings are waiting already, event 32 skipped.\n"), 1U);
    EXPECT_EQ(fake::logCount("31 hang warnings are waiting already, event 33 skipped.\n"), 1U);
    EXPECT_EQ(running(), kMost);
    awaitEnd();
    report();
    fake::awaitSleepers(1);
    awaitEnd();
    fake::holdSleeps(false);
    EXPECT_EQ(fake::commandCount("rm -rf "), size_t{kMost + 1});
    fake::resetShell();  // no folder is made
    const auto failures = [] {
        const auto fate = static_cast<size_t>(Fate::NoFolder);
        return ReportJournal::instance().status().counts[fate];
    };
    const uint64_t before = failures();
    report();
    EXPECT_EQ(running(), 0);
    EXPECT_EQ(failures(), before + 1);
    EXPECT_EQ(fake::logCount("copyNwatchcallLog]: no folder for event 0x401"), 1U);
}

TEST(LogCommands, NoneStartsOnceThePackHasBegun) {
    DumpBench bench(fake::carryOut);
    const CatchRef running = bench.add(0x999, 0x3, {}, DumpBench::kRecordId, "/data/F");
    std::promise<void> release;
    bench.context().logcatPool.commit([&] { release.get_future().wait(); });
    collectLog(0x1, running);
    const LogFolderRef folder = running->folder();
    EXPECT_EQ(folder->openWork(), std::vector<std::string>{"android-"});
    EXPECT_TRUE(folder->close());
    EXPECT_FALSE(folder->close());
    release.set_value();
    collectLog(0x2, running);
    bench.settle();
    EXPECT_EQ(fake::commandCount(""), 0U);
    for (const std::string command : {"logcat -d", "dmesg"}) {
        EXPECT_EQ(fake::logCount("(record 77) is packed already, not started: " + command), 1U);
    }
    EXPECT_EQ(running->event->collected, 0U);
    EXPECT_TRUE(folder->openWork().empty());
}

TEST(TrailLogPack, TarWaitsForACommandThatStillRuns) {
    std::promise<void> tar;
    std::future<void> tarStarts = tar.get_future();
    bool isAhead = false;
    DumpBench bench([&](const std::string& command) {
        if (command.rfind("dmesg", 0) == 0) {  // a pack that does not wait is there at once
            isAhead = tarStarts.wait_for(300ms) == std::future_status::ready;
        } else if (command.rfind("tar ", 0) == 0) {
            tar.set_value();
        }
        return fake::carryOut(command);
    });
    const CatchRef running = bench.add(0x402, 0x2, {}, DumpBench::kRecordId, "/data/F");
    fs::create_directory("/data/F");
    collectLog(0x2, running);
    trailLogPack(running, 0);
    EXPECT_FALSE(isAhead);
    EXPECT_EQ(tarStarts.wait_for(0s), std::future_status::ready);
    EXPECT_EQ(running->event->collected, 0x2U);
    EXPECT_EQ(fake::logCount("packed without"), 0U);
}

TEST(LeftoverFolders, StayButForTheOldestIfMoreThan31CannotBePacked) {
    fake::captureLog();
    fake::clearLog();
    fake::resetShell([](const std::string& command) {
        return command.rfind("tar ", 0) == 0 ? 512 : fake::carryOut(command);
    });
    const auto folder = [](int number) {
        return std::string(kLogFolderRoot) + "/kavel_e_" + std::to_string(number) +
               "@831be687eb45bbc0@@2024-03-07-09-05-02-007";
    };
    for (int number = 0; number < 33; ++number) {
        fs::create_directories(folder(number));
        test::makeFile(folder(number) + "/x");
        const auto age = std::chrono::seconds(number % 10 * 100 + number);
        fs::last_write_time(folder(number), fs::file_time_type() + age);
    }
    fake::refuseThreads(true);
    packLeftoverFolders();
    fake::refuseThreads(false);
    EXPECT_EQ(fake::logCount("]: no thread, left for the next start: "), 1U);
    packLeftoverFolders();
    ASSERT_TRUE(fake::awaitLog("done, 33 folders"));
    for (int number = 0; number < 33; ++number) {
        EXPECT_EQ(fs::exists(folder(number)), number != 0 && number != 10) << number;
    }
    EXPECT_EQ(fake::logCount("too many folders could not be packed, its logs are lost: "), 2U);
}

}  // namespace
}  // namespace android::kavel
