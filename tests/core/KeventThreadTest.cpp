// Would catch a changed line, priority or order of the set-up or of a packet, the wrong dialect for
// a kernel, any byte of look-up or registration that differs from what the kernel's side expects, a
// family id from the wrong place or from an invalid reply, a failure that does not end the thread,
// a process that passes for the kernel, a packet with the type in its own bytes or dropped for its
// type, a callback that is called without a packet or although it is null, or that cannot send
// because the lock is held, text that is read past the end of the buffer or from an earlier packet,
// a failed receive that pauses, ends or floods the log, a buffer that is raised before the bind,
// not at all or with a line, bytes that are lost or sent twice, a message that overruns its buffer,
// and a socket that stays open.

#include <cerrno>
#include <cstring>
#include <regex>

#include <unistd.h>

#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "core/KavelKeventThread.h"
#include "core/KernelChannel.h"
#include "platform/Log.h"
#include "tests/core/Messages.h"
#include "tests/core/Rows.h"
#include "tests/core/TestKernel.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/Script.h"

namespace android::kavel::test {
namespace {

KavelKeventThread* sThread = nullptr;

bool logPacket(kavel_kevent_packet* packet) {
    const int sent = sThread->sendKeventGki2("x", 1);
    KAVEL_LOGI("kavel_kevent", "callback %u %zu %d", packet->type, strlen(packet->payload), sent);
    return packet->type == KEVENT_TYPE_EVENT;
}

/** The descriptor that the next socket() will get. */
int nextFd() {
    const int fd = dup(0);
    close(fd);
    return fd;
}

std::deque<int> numbersOf(const std::string& text) {
    std::deque<int> numbers;
    for (const std::string& word : base::Split(text, ",")) numbers.push_back(atoi(word.c_str()));
    return text.empty() ? std::deque<int>() : numbers;
}

std::string takeText() {
    std::string text;
    for (const std::string& line : fake::takeLog()) {
        text += std::regex_replace(line, std::regex(" kavel_kevent: "), " ") + "\n";
    }
    return text;
}

/** Sends @p length characters. Returns what came of it. */
std::string send(int64_t length, bool isNew) {
    const std::string text(static_cast<size_t>(std::abs(length)), 'x');
    const int sent = isNew ? sThread->sendKeventGki2(text.c_str(), static_cast<int>(length))
                           : sThread->sendKeventComp(0x12, 0x34, text.c_str());
    return takeText() + "result " + std::to_string(sent) + "\n";
}

std::string follow(const ScriptLine& line) {
    TestKernel kernel;
    if (!line.option("release").empty()) kernel.release = line.option("release");
    if (line.verb() == "send-old") kernel.release = "4.19.157";
    if (kernel.release == "unknown") kernel.release = "";
    kernel.socketError = atoi(line.option("socket").c_str());
    kernel.bindError = atoi(line.option("bind").c_str());
    kernel.sender = static_cast<uint32_t>(atoi(line.option("sender").c_str()));
    kernel.mayForceBuffer = line.option("buffer").empty();
    kernel.sendFaults = numbersOf(line.option("sends"));
    if (line.verb() == "failures") {  // the last one has no length and no error number
        kernel.receiveFaults.assign(static_cast<size_t>(line.number(1)) - 1, -ENOBUFS);
        kernel.receiveFaults.push_back(0);
    }
    const bool isNew = isGki2Release(kernel.release.c_str()).value_or(false);
    if (isNew) kernel.messages = {familyReply(0x1c)};
    for (size_t i = 1; i < line.size(); ++i) {
        if (line.word(i) == "unanswered") kernel.messages.clear();
        if (line.word(i) == "junk") kernel.messages.push_back("junk");
        const std::vector<std::string> parts = base::Split(line.word(i), "/");
        if (parts.size() != 4) continue;
        const auto type = static_cast<uint16_t>(atoi(parts[0].c_str()));
        const std::string bytes = packet(isNew ? 9 : type, parts[1], parts[2], parts[3]);
        kernel.messages.push_back(isNew ? genlMessage(type, bytes) : compatMessage(bytes));
    }
    const std::string fd = "mEventFd " + std::to_string(nextFd()) + "\n";
    const sp<KavelKeventThread> thread =
            new KavelKeventThread(line.option("callback") == "null" ? nullptr : logPacket);
    sThread = thread.get();
    fake::clearLog();
    kernelChannel().state = ChannelState::Starting;
    const std::optional<bool> result = kernel.run(*thread);
    if (line.verb() == "failures") {
        const auto count = [](const char* text) { return std::to_string(fake::logCount(text)); };
        return count("receive from kernel failed") + " failed, " +
               count("times in a row, errno 105") + " in a row, " + count("recvKeventGki2") +
               " attempts, " + count("callback") + " received";
    }
    std::string text = takeText();
    if (line.verb() == "run") {
        text.erase(0, text.find("E bind ret"));
    } else if (line.verb() != "all") {
        text = "";
        for (size_t i = 1; i < line.size(); ++i) text += send(line.number(i), isNew);
        return text;
    }
    text = std::regex_replace(text, std::regex(fd), "mEventFd FD\n");
    text = std::regex_replace(text, std::regex("pid " + std::to_string(getpid())), "pid PID");
    return text + (result ? "ended, " + std::to_string(*result) : "goes on") + ", " +
           channelText(kernelChannel().state);
}

TEST(KeventThread, DoesWhatTheGoldenFileSays) {
    fake::captureLog();
    const int firstFd = nextFd();
    expectScript(KAVEL_GOLDEN_DIR "/channel.txt",
                 [](const ScriptLine& line) { return rowsOf(follow(line)); });
    EXPECT_EQ(nextFd(), firstFd);
}

TEST(KeventWire, ReleaseChoosesTheDialect) {
    const std::pair<std::optional<bool>, std::vector<const char*>> cases[] = {
            {true, {"5.10.0", "5.9.256", "6.1.25-android14-11", "5.10.0-rc1", "10.0.0"}},
            {false, {"5.9.255", "4.19.157-perf", "3.18.140"}},
            {std::nullopt, {"5.15", "5.15-rc1", "", "x.y.z", "5.15."}},
    };
    for (const auto& [isGki2, releases] : cases) {
        for (const char* release : releases) EXPECT_EQ(isGki2Release(release), isGki2) << release;
    }
}

TEST(KeventWire, FamilyIdIsTheSecondAttribute) {
    const std::string name = std::string("kavel_monitor") + '\0';
    const std::string good = familyReply(0x1234);
    const auto withHeader = [&](size_t length, uint16_t type) {
        return number(length, 4) + number(type, 2) + good.substr(6);
    };
    const std::pair<std::string, int> cases[] = {
            {good, 0x1234},
            {familyReply({{2, name}, {3, number(2, 4)}, {1, number(0x1234, 2)}}), 0},
            {familyReply({{1, number(0x1234, 2)}, {2, name}}), 0},
            {familyReply({{2, name}}), 0},
            {familyReply({}), 0},
            {familyReply({{2, std::string(900, 'x')}, {1, number(7, 2)}}), 7},
            {good.substr(0, 16) + number(0, 4) + number(0xFFFF, 2) + good.substr(22), 0},
            {withHeader(good.size(), 2), -1},
            {withHeader(15, 16), -1},
            {withHeader(16, 16), 0x1234},  // any length that is not beyond what came
            {withHeader(good.size() + 1, 16), -1},
            {good.substr(0, 15), -1},
            {"", -1}};
    for (const auto& [reply, familyId] : cases) {
        GenlMessage message = {};
        memcpy(&message, reply.data(), reply.size());
        EXPECT_EQ(familyIdOf(message, static_cast<ssize_t>(reply.size())), familyId);
    }
}

}  // namespace
}  // namespace android::kavel::test
