// Would catch, in the log: a version text that gets into it, a replacement that is replaced again,
// a line that is cut after masking, a search for nothing that does not end, a number that is cut
// without a line, a control character. About processes: a scan that misses this process, a read
// beyond the buffer, a signal to init, to a group or to all processes.

#include <cerrno>
#include <climits>
#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <log/log.h>
#include <unistd.h>

#include "platform/CheckedCast.h"
#include "platform/KavelPrint.h"
#include "platform/OneLine.h"
#include "platform/ProcFs.h"
#include "platform/Signals.h"
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

// Signal 0 tests without sending.
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

}  // namespace
}  // namespace android::kavel
