// Would catch a changed line, priority or order of the set-up or of a packet, in both dialects, a
// failure that does not end the thread, a callback that is called without a packet or although it
// is null, and a socket that stays open.

#include <cerrno>
#include <regex>

#include <unistd.h>

#include <gtest/gtest.h>

#include "core/KavelKeventThread.h"
#include "platform/Log.h"
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

bool logCallback(kavel_kevent_packet* packet) {
    KAVEL_LOGI("kavel_kevent", "callback for type %u", packet->type);
    return true;
}

std::string run(const ScriptLine& line) {
    const auto number = [&](const char* name) { return atoi(line.option(name).c_str()); };
    TestKernel kernel;
    kernel.release = line.option("release");
    kernel.socketError = number("socket");
    kernel.bindError = number("bind");
    const std::string lookUp = line.option("look-up");
    const std::string bytes = packet(7, "t", "e", "p");
    kernel.messages = {compatMessage(bytes)};
    if (isGki2Release(kernel.release.c_str()).value_or(false)) {
        kernel.messages = {lookUp == "unknown" ? "junk" : familyReply(0x1c), genlMessage(3, bytes)};
        if (lookUp == "lost") kernel.messages.clear();
        kernel.sendFaults = {lookUp == "lost" ? -ENOBUFS : 1000};
    }
    if (number("registration") != 0) {
        kernel.sendFaults.push_back(-number("registration"));
        kernel.messages.pop_back();
    }
    const std::string fd = std::to_string(nextFd());
    const sp<KavelKeventThread> thread =
            new KavelKeventThread(line.option("callback") == "null" ? nullptr : logCallback);
    const std::optional<bool> result = kernel.run(*thread);
    std::string text;
    for (const std::string& said : fake::takeLog()) {
        text += std::regex_replace(said, std::regex(" kavel_kevent: "), " ") + "\n";
        if (line.verb() == "run" && said.find("socket bind pid") != std::string::npos) text = "";
    }
    text = std::regex_replace(text, std::regex("mEventFd " + fd + "\n"), "mEventFd FD\n");
    text = std::regex_replace(text, std::regex("pid " + std::to_string(getpid())), "pid PID");
    return text + (result ? "ended, " + std::to_string(*result) : "goes on");
}

TEST(KeventSetUp, IsAsInTheGoldenFile) {
    fake::captureLog();
    const int firstFd = nextFd();
    expectScript(KAVEL_GOLDEN_DIR "/set_up.txt", run);
    EXPECT_EQ(nextFd(), firstFd);
}

}  // namespace
}  // namespace android::kavel::test
