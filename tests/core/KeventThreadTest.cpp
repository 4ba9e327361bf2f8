// Would catch the wrong dialect for a kernel, any byte of look-up or registration that differs from
// what the kernel's side expects, a family id from the wrong place or from an invalid reply, a
// process that passes for the kernel, a packet with the type in its own bytes or dropped for its
// type, a callback that cannot send because the lock is held, text that is read past the end of the
// buffer or from an earlier packet, a failed receive that pauses, ends or floods the log, a buffer
// that is raised before the bind, not at all or with a line, bytes that are lost or sent twice, and
// a message that overruns its buffer.

#include <cerrno>
#include <tuple>

#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/KavelKeventThread.h"
#include "tests/core/Messages.h"
#include "tests/core/TestKernel.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel::test {
namespace {

using testing::ElementsAre;

using Delivered = std::tuple<uint32_t, std::string, std::string, std::string>;

std::vector<Delivered> sDelivered;

bool keepPacket(kavel_kevent_packet* packet) {
    sDelivered.emplace_back(packet->type, packet->tag, packet->event_id, packet->payload);
    return packet->type == KEVENT_TYPE_EVENT;
}

class KeventThread : public testing::Test {
  protected:
    TestKernel kernel;
    sp<KavelKeventThread> thread = new KavelKeventThread(keepPacket);

    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        sDelivered.clear();
    }

    /** Set-up in the generic netlink dialect, then these messages. */
    void runWith(std::vector<std::string> messages) {
        messages.insert(messages.begin(), familyReply(0x1c));
        kernel.messages = std::move(messages);
        EXPECT_EQ(kernel.run(*thread), std::nullopt);
        EXPECT_TRUE(kernel.isWellAddressed);
        EXPECT_EQ(kernel.received().size(), 40U);  // the look-up
    }
};

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

TEST_F(KeventThread, RegistersAsTheKernelExpects) {
    const std::string self = number(static_cast<uint64_t>(getpid()), 4);
    const auto request = [&](uint64_t type, uint64_t command, uint64_t attribute,
                             const std::string& text) {
        return number(40, 4) + number(type, 2) + number(1, 2) + number(0, 4) + self +
               number(command, 1) + number(1, 1) + number(0, 2) + number(20, 2) +
               number(attribute, 2) + text + std::string(16 - text.size(), '\0');
    };
    kernel.messages = {familyReply(0x1c)};
    kernel.run(*thread);
    EXPECT_EQ(kernel.received(), request(16, 3, 2, "kavel_monitor"));
    EXPECT_EQ(kernel.received(), request(0x1c, 1, 1, "kavel_kevent"));
    EXPECT_EQ(kernel.received(), "");

    thread = new KavelKeventThread(keepPacket);
    kernel.release = "4.19.157-perf";
    kernel.messages.clear();
    EXPECT_EQ(kernel.run(*thread), std::nullopt);
    EXPECT_EQ(kernel.received(),
              number(28, 4) + number(1, 2) + number(0, 2) + number(0, 4) + self + "kavel_kevent");
    EXPECT_EQ(kernel.received(), "");
    EXPECT_THAT(kernel.protocols, ElementsAre(16, 43));
    EXPECT_TRUE(kernel.isWellAddressed);
}

TEST_F(KeventThread, FamilyLookUpAnswers) {
    const std::string name = std::string("kavel_monitor") + '\0';
    const std::string good = familyReply(0x1234);
    const auto withHeader = [&](uint32_t length, uint16_t type) {
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
            {withHeader(static_cast<uint32_t>(good.size()), 2), -1},
            {withHeader(15, 16), -1},
            {withHeader(16, 16), 0x1234},  // any length that is not beyond what came
            {withHeader(static_cast<uint32_t>(good.size()) + 1, 16), -1},
            {good.substr(0, 15), -1}};
    for (const auto& [reply, familyId] : cases) {
        thread = new KavelKeventThread(keepPacket);
        kernel.messages = {reply};
        const std::optional<bool> result = kernel.run(*thread);
        kernel.received();
        const std::string registration = kernel.received();
        if (familyId < 0) {
            EXPECT_EQ(result, false);
            EXPECT_EQ(registration, "");
        } else {
            EXPECT_EQ(result, std::nullopt);
            EXPECT_EQ(registration.substr(4, 2), number(static_cast<uint64_t>(familyId), 2));
        }
    }
}

TEST_F(KeventThread, OnlyTheKernelIsBelieved) {
    kernel.sender = 4711;
    runWith(std::vector<std::string>(3, genlMessage(3, packet(3, "t", "e", "p"))));
    EXPECT_TRUE(sDelivered.empty());
    EXPECT_EQ(fake::logCount("KavelKeventThread packet of port 4711 dropped, "), 2U);
    EXPECT_EQ(fake::logCount("packet of port 4711 dropped, 2 so far"), 1U);
}

TEST_F(KeventThread, AttributeTypeIsThePacketType) {
    static KavelKeventThread* sThread = nullptr;
    thread = new KavelKeventThread([](kavel_kevent_packet* packet) {
        EXPECT_EQ(sThread->sendKeventGki2("x", 1), 0);
        return keepPacket(packet);
    });
    sThread = thread.get();
    std::vector<std::string> messages;
    for (const auto type : std::vector<uint16_t>{1, 2, 3, 7, 0}) {
        messages.push_back(genlMessage(type, packet(9, "t", "e", "p" + std::to_string(type))));
    }
    messages.push_back("junk");
    runWith(messages);
    EXPECT_THAT(sDelivered, ElementsAre(Delivered{1, "t", "e", "p1"}, Delivered{2, "t", "e", "p2"},
                                        Delivered{3, "t", "e", "p3"}, Delivered{9, "t", "e", "p7"},
                                        Delivered{9, "t", "e", "p0"}, Delivered{0, "", "", ""}));
    EXPECT_EQ(fake::logCount("recvKeventGki2 invalid attr type"), 3U);
    EXPECT_EQ(fake::logCount("KavelKeventThread hook ret=0"), 5U);
}

TEST_F(KeventThread, PayloadEndsWithTheBuffer) {
    const std::string endless(2000, 'A');
    runWith({genlMessage(3, packet(3, endless.substr(0, 128), endless.substr(0, 128), endless)),
             genlMessage(3, packet(3, "t", "e", "short"))});
    ASSERT_EQ(sDelivered.size(), 2U);
    EXPECT_EQ(std::get<3>(sDelivered[0]), endless.substr(0, 720));
    EXPECT_EQ(sDelivered[1], (Delivered{3, "t", "e", "short"}));

    thread = new KavelKeventThread(keepPacket);
    kernel.release = "5.9.255";
    kernel.messages = {compatMessage(packet(3, "", "", endless)),
                       compatMessage(packet(7, "t", "e", "p"))};
    kernel.run(*thread);
    ASSERT_EQ(sDelivered.size(), 4U);
    EXPECT_EQ(std::get<3>(sDelivered[2]), endless.substr(0, 728));
    EXPECT_EQ(sDelivered[3], (Delivered{7, "t", "e", "p"}));
}

TEST_F(KeventThread, FailedReceivesTurnAtOnceAndAreThinned) {
    // The kernel had to drop packets; the last one has no length and no error number.
    const struct {
        size_t failures, failureLines, receiveLines, timesLines;
    } rows[] = {{1001, 10, 3, 9},
                {1, 1, 3, 0}};  // 1, 2, 4 ... 512; the first two, and after the packet
    for (const auto& row : rows) {
        SetUp();
        thread = new KavelKeventThread(keepPacket);
        kernel.receives = 0;
        kernel.receiveFaults.assign(row.failures - 1, -ENOBUFS);
        kernel.receiveFaults.push_back(0);
        runWith({genlMessage(3, packet(3, "t", "e", "p"))});
        kernel.received();
        EXPECT_EQ(static_cast<size_t>(kernel.receives), row.failures + 2);
        EXPECT_EQ(sDelivered.size(), 1U);
        EXPECT_EQ(fake::logCount("receive from kernel failed"), row.failureLines);
        EXPECT_EQ(fake::logCount("times in a row, errno 105"), row.timesLines);
        EXPECT_EQ(fake::logCount("recvKeventGki2"), row.receiveLines);
    }
}

TEST_F(KeventThread, RaisesTheReceiveBufferSilently) {
    runWith({});
    EXPECT_THAT(kernel.bufferOptions, ElementsAre(SO_RCVBUFFORCE));
    const std::vector<std::string> log = fake::takeLog();
    thread = new KavelKeventThread(keepPacket);
    kernel.bufferOptions.clear();
    kernel.mayForceBuffer = false;
    kernel.run(*thread);
    EXPECT_THAT(kernel.bufferOptions, ElementsAre(SO_RCVBUFFORCE, SO_RCVBUF));
    EXPECT_EQ(fake::takeLog(), log);
}

TEST_F(KeventThread, ShortAndBusySendsGoOn) {
    kernel.sendFaults = {1000, -EAGAIN, -EAGAIN, 7, -EAGAIN, 20};
    runWith({});
    std::string sent;
    for (const size_t size : {7U, 20U, 13U}) {
        sent += kernel.received();
        EXPECT_GE(sent.size(), size);
    }
    EXPECT_EQ(sent.substr(0, 4), number(40, 4));
    EXPECT_EQ(sent.substr(24), "kavel_kevent" + std::string(4, '\0'));
    EXPECT_EQ(kernel.received(), "");
    kernel.sendFaults = {7, -ENOBUFS};
    EXPECT_EQ(thread->sendKeventGki2("x", 1), -1);
}

TEST_F(KeventThread, LengthLimits) {
    runWith({});
    kernel.received();
    fake::clearLog();
    const std::string text(1012, 'x');
    for (const auto& [length, result] :
         {std::pair{1007, 0}, {1008, -1}, {1011, -1}, {1012, -1}, {-1, -1}}) {
        EXPECT_EQ(thread->sendKeventGki2(text.c_str(), length), result) << length;
        EXPECT_EQ(kernel.received().size(), result == 0 ? 1032U : 0U) << length;
        EXPECT_EQ(fake::takeLog().size(), length == 1012 ? 1U : 0U) << length;
    }
    EXPECT_EQ(thread->sendKeventComp(0x12, 0x34, text.substr(1).c_str()), 1027);
    EXPECT_EQ(kernel.received(), number(1027, 4) + number(0x12, 2) + number(0x34, 2) +
                                         number(0, 4) + number(static_cast<uint64_t>(getpid()), 4) +
                                         text.substr(1));
    EXPECT_EQ(thread->sendKeventComp(1, 0, text.c_str()), -1);
    EXPECT_EQ(kernel.received(), "");
}

}  // namespace
}  // namespace android::kavel::test
