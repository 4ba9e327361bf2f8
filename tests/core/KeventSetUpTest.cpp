#include <cerrno>
#include <regex>

#include <unistd.h>

#include <gtest/gtest.h>

#include "core/KavelKeventThread.h"
#include "tests/core/Messages.h"
#include "tests/core/TestKernel.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/Script.h"

namespace android::kavel::test {
namespace {

/** The descriptor that the next socket() will get. */
int nextFd() {
    const int fd = dup(0);
    close(fd);
    return fd;
}

// Would catch a changed set-up line, priority or order, and a failure that does not end the thread.
TEST(KeventSetUp, IsAsInTheGoldenFile) {
    fake::captureLog();
    const int firstFd = nextFd();
    expectScript(KAVEL_GOLDEN_DIR "/set_up.txt", [&](const ScriptLine& line) {
        TestKernel kernel;
        const sp<KavelKeventThread> thread = new KavelKeventThread(nullptr);
        const std::string fd = std::to_string(nextFd());
        const std::string lookUp = line.option("look-up");
        const int registration = std::stoi(line.option("registration"));
        kernel.release = line.option("release");
        kernel.socketError = std::stoi(line.option("socket"));
        kernel.bindError = std::stoi(line.option("bind"));
        if (lookUp == "known") kernel.messages = {familyReply(0x1c)};
        if (lookUp == "unknown") kernel.messages = {"junk"};
        if (lookUp != "none") kernel.sendFaults = {lookUp == "lost" ? -ENOBUFS : 1000};
        if (registration != 0) kernel.sendFaults.push_back(-registration);
        const std::optional<bool> result = kernel.run(*thread);
        const std::string pid = "pid " + std::to_string(getpid());
        std::string text;
        for (std::string said : fake::takeLog()) {
            said = std::regex_replace(said, std::regex(" kavel_kevent: "), " ");
            said = std::regex_replace(said, std::regex("mEventFd " + fd + "$"), "mEventFd FD");
            text += std::regex_replace(said, std::regex(pid), "pid PID") + "\n";
        }
        return text + (result ? "ended, " + std::to_string(*result) : "goes on");
    });
    EXPECT_EQ(nextFd(), firstFd) << "no socket stays open";
}

}  // namespace
}  // namespace android::kavel::test
