// Would catch, in the log: a version text that gets into it, a replacement that is replaced again,
// a line that is cut after masking, a search for nothing that does not end, a number that is cut
// without a line, a control character. About processes: a scan that misses this process, a read
// beyond the buffer, a signal to init, to a group or to all processes. In a line of calls: calls
// that overtake each other or run at once although they must not, a call that is lost or kept
// beyond the limit, a caller that waits behind an overdue call or does not wait for its own, and a
// line that has no thread after it was idle, or keeps one.

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <log/log.h>
#include <unistd.h>

#include "platform/CallLine.h"
#include "platform/CheckedCast.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/KavelPrint.h"
#include "platform/OneLine.h"
#include "platform/ProcFs.h"
#include "platform/RepeatCounter.h"
#include "platform/Signals.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"

namespace android::kavel {
namespace {

TEST(KavelPrint, HidesTheOtaVersion) {
    struct {
        std::string ota, text, printed;
    } const rows[] = {
            {"PX_11", "PX_11PX_11 and PX_1", "** and PX_1"},
            {"", "a default line, default", "a * line, *"},
            {"*", "a*b**", "a*b**"},
            {"aa", "aaaaa", "**a"},
            {"a*", "aa*", "a*"},
            {"PX_11", std::string(2000, 'x'), std::string(1023, 'x')},
            {"PX_11", std::string(1020, 'x') + "PX_11", std::string(1020, 'x') + "PX_"},
            {"PX_11", std::string(1018, 'x') + "PX_11 cut", std::string(1018, 'x') + "*"},
            {"%s%n", "100 %s%n", "100 *"},
    };
    fake::captureLog();
    for (const auto& row : rows) {
        fake::setProperty("ro.build.version.ota", row.ota);
        fake::clearLog();
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s", row.text.c_str());
        const auto lines = fake::logLines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].text, row.printed);
        EXPECT_EQ(lines[0].priority, ANDROID_LOG_INFO);
        EXPECT_EQ(lines[0].tag, program_invocation_short_name);  // liblog's choice for no tag
    }
    EXPECT_EQ(maskOccurrences("text", ""), "text");
}

TEST(CheckedInt32DeathTest, EndsTheProcessWithALine) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const int64_t fits : {INT32_MIN, INT32_MAX}) EXPECT_EQ(checkedInt32("", fits), fits);
    for (const int64_t lossy : {int64_t{1} << 32, INT32_MAX + int64_t{1}, INT32_MIN - int64_t{1}}) {
        EXPECT_DEATH(checkedInt32("logInfo", lossy),
                     "logInfo " + std::to_string(lossy) + " does not fit a 32-bit integer");
    }
}

TEST(OneLine, ShowsControlCharacters) {
    EXPECT_EQ(oneLine("a\n\x1f b~\x7f\xc3\xa4\\"), "a\\x0a\\x1f b~\\x7f\xc3\xa4\\");
}

TEST(RepeatCounter, LogsTheFirstFailureAndEachDoubling) {
    RepeatCounter counter;
    for (int run = 0; run < 2; ++run) {
        std::string logged;
        for (int i = 1; i <= 9; ++i)
            logged += counter.add() ? std::to_string(counter.count()) : "-";
        EXPECT_EQ(logged, "12-4---8-");
        counter.reset();
    }
}

TEST(ProcFs, ThisProcessIsThere) {
    int visits = 0;
    ASSERT_TRUE(forEachProcess([&](int pid) { return ++visits, pid != getpid(); }));
    ASSERT_TRUE(forEachProcess([&](int pid) { return --visits, pid != getpid(); }));
    EXPECT_EQ(visits, 0);

    char text[4096];
    ASSERT_EQ(readProcFile(getpid(), "status", text, sizeof(text)), ProcRead::Done);
    EXPECT_NE(std::string(text).find("\nUid:\t" + std::to_string(getuid())), std::string::npos);
    char small[8];
    ASSERT_EQ(readProcFile(getpid(), "status", small, sizeof(small)), ProcRead::Done);
    EXPECT_EQ(std::string(small), std::string(text, 7));
    EXPECT_EQ(readProcFile(INT_MAX, "status", text, sizeof(text)), ProcRead::NotOpened);
    EXPECT_EQ(readProcFile(getpid(), "fd", text, sizeof(text)), ProcRead::NotRead);
    EXPECT_STREQ(text, "");
}

// Signal 0 is only checked, not sent.
TEST(Signals, OnlyOneProcessIsReached) {
    for (const auto send : {sendSignal, queueSignal}) {
        EXPECT_EQ(send(getpid(), 0), 0);
        for (const pid_t pid : {1, 0, -1, -getpid(), INT_MIN}) {
            errno = 0;
            EXPECT_EQ(send(pid, 0), -1) << pid;
            EXPECT_EQ(errno, EPERM);
        }
    }
}

using Outcome = CallLine::Outcome;
using std::chrono::milliseconds;

long threadCount() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

TEST(CallLine, KeepsTheOrderBehindACallThatHangs) {
    std::thread([] {}).join();  // a sanitizer starts its own thread together with our first one
    const long threads = threadCount();
    static auto& line = *new CallLine(1, 4);
    std::atomic<bool> isReleased = false;
    std::vector<int> done;
    const auto call = [&](int i, milliseconds patience) {
        const auto body = [&, i] {
            test::eventually([&] { return isReleased.load(); });
            done.push_back(i);
        };
        return line.call(body, patience);
    };
    for (int i = 1; i <= 5; ++i) {
        const Outcome later = i < 5 ? Outcome::NotAwaited : Outcome::Full;
        EXPECT_EQ(call(i, milliseconds(20)), i == 1 ? Outcome::Late : later);
    }
    isReleased = true;
    const milliseconds enough = std::chrono::minutes(1);
    // All have ended when this one is waited for: it comes after them.
    EXPECT_TRUE(test::eventually([&] { return line.call([] {}, enough) == Outcome::Returned; }));
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_TRUE(test::eventually([&] { return threadCount() <= threads; }));
    EXPECT_EQ(call(6, enough), Outcome::Returned);
    EXPECT_EQ(done.back(), 6);
}

/** Keeps what it is given, and waits to be released. */
class Client : public CommonPlxServiceManager {
  public:
    std::atomic<bool> isReleased = false;
    std::atomic<size_t> count = 0;
    std::array<std::string, 2> uploads;

  private:
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        uploads.at(count) = tag + eventId + data.at(0).second;
        ++count;
        test::eventually([&] { return isReleased.load(); });
    }
};

// A call that its thread only finds when the thread ends: that takes a second each time. A machine
// that is busy for as long gets further attempts.
TEST(CallLine, WakesAnIdleThread) {
    static auto& line = *new CallLine(1, 4);
    EXPECT_TRUE(test::eventually([] {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(milliseconds(10));  // so that the thread is idle
            EXPECT_EQ(line.call([] {}, std::chrono::minutes(10)), Outcome::Returned);
        }
        return std::chrono::steady_clock::now() - start < milliseconds(5'000);
    }));
}

TEST(CallLine, StatisticsGoOneAfterTheOther) {
    static auto& client = *new Client;  // a call may outlive its caller
    std::vector<std::future<void>> callers;
    for (const char* const value : {"1", "2"}) {
        callers.push_back(std::async(std::launch::async, [value] {
            client.sendToPlxFromCommonPlx("t", "e", {{"k", value}});
        }));
        EXPECT_TRUE(test::eventually([&] { return client.count == 1; }));
    }
    callers[1].wait_for(milliseconds(50));
    EXPECT_EQ(client.count, 1U);
    client.isReleased = true;
    for (std::future<void>& caller : callers) caller.get();
    EXPECT_TRUE(test::eventually([&] { return client.count == 2; }));
    EXPECT_EQ(client.uploads, (std::array<std::string, 2>{"te1", "te2"}));
}

}  // namespace
}  // namespace android::kavel
