#include <cerrno>
#include <climits>
#include <csignal>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/ProcFs.h"
#include "platform/ProcText.h"
#include "platform/Signals.h"

namespace android::kavel {
namespace {

using namespace std::string_view_literals;  // NOLINT(google-build-using-namespace): for ""sv

// Would catch the group's number, another user id of the line, a key that stands elsewhere, and a
// text cut short that is taken for root's.
TEST(ProcText, UidIsTheFirstNumberOfItsLine) {
    struct {
        std::string_view status;
        std::optional<int64_t> uid;
    } const rows[] = {
            {"Name:\tcom.example.app\nUmask:\t0077\nState:\tS (sleeping)\nTgid:\t4711\nPid:\t4711\n"
             "PPid:\t712\nUid:\t10123\t10124\t10125\t10126\nGid:\t10999\t10999\t10999\t10999\n",
             10123},
            {"Name:\tkthreadd\nState:\tS (sleeping)\nUid:\t0\t0\t0\t0\n", 0},
            {"Name:\tUid:\t7\nUid:\t1000\t1000\t1000\t1000\n", 1000},
            {"NSUid:\t1\nUid: \t 1000 0\n", 1000},
            {"Uid:\t99999999999\n", 99999999999},
            {"Uid:\t99999999999999999999\n", std::nullopt},
            {"Uid:\t-1\n", std::nullopt},
            {"Name:\tsh\nUid:", std::nullopt},
            {"Uid:\nGid:\t7\n", std::nullopt},
            {"Name:\tsh\nUi", std::nullopt},
            {"uid:\t1\n", std::nullopt},
            {"", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(uidOfStatus(row.status), row.uid) << row.status;
}

// Would catch a command that is compared with its arguments, or by its prefix.
TEST(ProcText, CommandEndsAtTheFirstNulOrSpace) {
    struct {
        std::string_view cmdline, command;
    } const rows[] = {
            {"system_server\0"sv, "system_server"},
            {"app_process64 -Xzygote /system/bin\0--zygote\0"sv, "app_process64"},
            {"/system/bin/sh\0-c\0a b\0"sv, "/system/bin/sh"},
            {" leading\0"sv, ""},
            {"", ""},  // kernel threads and zombies
    };
    for (const auto& row : rows) EXPECT_EQ(commandOfCmdline(row.cmdline), row.command);
}

// Would catch a scan that does not find this very process, or reads past the buffer.
TEST(ProcFs, ThisProcessIsThere) {
    bool found = false;
    ASSERT_TRUE(forEachProcess([&](int pid) { return !(found = pid == getpid()); }));
    EXPECT_TRUE(found);

    char text[4096];
    ASSERT_EQ(readProcFile(getpid(), "status", text, sizeof(text)), ProcRead::Done);
    EXPECT_EQ(uidOfStatus(text), static_cast<int64_t>(getuid()));
    char small[8];
    ASSERT_EQ(readProcFile(getpid(), "status", small, sizeof(small)), ProcRead::Done);
    EXPECT_EQ(std::string(small), std::string(text, 7));

    EXPECT_EQ(readProcFile(INT_MAX, "status", text, sizeof(text)), ProcRead::NotOpened);
    EXPECT_EQ(readProcFile(getpid(), "fd", text, sizeof(text)), ProcRead::NotRead);
    EXPECT_STREQ(text, "");
}

// Would catch a signal to init, to a group or to everybody. Signal 0 tests without sending.
TEST(Signals, OnlyAProcessOfItsOwnIsReached) {
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
