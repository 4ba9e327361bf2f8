#include <cerrno>
#include <climits>
#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/ProcFs.h"
#include "platform/Signals.h"

namespace android::kavel {
namespace {

// Would catch a scan that does not find this very process, or reads past the buffer.
TEST(ProcFs, ThisProcessIsThere) {
    bool found = false;
    ASSERT_TRUE(forEachProcess([&](int pid) { return !(found = pid == getpid()); }));
    EXPECT_TRUE(found);

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
