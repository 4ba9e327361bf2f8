#include <atomic>
#include <cerrno>

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
using testing::ElementsAreArray;

struct Delivered {
    uint32_t type;
    std::string tag, eventId, payload;

    bool operator==(const Delivered& other) const {
        return type == other.type && tag == other.tag && eventId == other.eventId &&
               payload == other.payload;
    }
};

std::vector<Delivered> sDelivered;

bool keepPacket(kavel_kevent_packet* packet) {
    sDelivered.push_back({packet->type, packet->tag, packet->event_id, packet->payload});
    return packet->type == KEVENT_TYPE_EVENT;
}

/** What was logged since the last call, as "E text", without the newline at the end. */
std::vector<std::string> takeLog() {
    constexpr char kLetters[] = "??VDIWEF";
    std::vector<std::string> lines;
    for (const fake::LogLine& line : fake::logLines()) {
        EXPECT_EQ(line.tag, "kavel_kevent") << line.text;
        std::string text = kLetters[line.priority] + (" " + line.text);
        if (text.back() == '\n') text.pop_back();
        lines.push_back(text);
    }
    fake::clearLog();
    return lines;
}

std::string pidText() {
    return std::to_string(getpid());
}

std::string fdText(int fd) {
    return "E mEventFd " + std::to_string(fd);
}

/** The descriptor that the next socket() will get. */
int nextFd() {
    const int fd = dup(0);
    close(fd);
    return fd;
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

// Would catch the wrong dialect for a kernel: the daemon would then hear nothing at all.
TEST(KeventWire, ReleaseChoosesTheDialect) {
    const std::pair<const char*, std::optional<bool>> cases[] = {{"5.10.0", true},
                                                                 {"5.9.255", false},
                                                                 {"4.19.157-perf", false},
                                                                 {"5.9.256", true},
                                                                 {"6.1.25-android14-11", true},
                                                                 {"5.10.0-rc1", true},
                                                                 {"5.15", std::nullopt},
                                                                 {"5.15-rc1", std::nullopt},
                                                                 {"", std::nullopt},
                                                                 {"x.y.z", std::nullopt},
                                                                 {"5.15.", std::nullopt},
                                                                 {"3.18.140", false},
                                                                 {"10.0.0", true}};
    for (const auto& [release, isGki2] : cases)
        EXPECT_EQ(isGki2Release(release), isGki2) << release;
}

// Would catch any byte of look-up or registration that differs from what the kernel's side expects.
TEST_F(KeventThread, RegistersInGenericNetlink) {
    runWith({});
    EXPECT_THAT(kernel.protocols, ElementsAre(16));
    const std::string pid = number(static_cast<uint64_t>(getpid()), 4);
    EXPECT_EQ(kernel.received(), number(40, 4) + number(0x1c, 2) + number(1, 2) + number(0, 4) +
                                         pid + number(1, 1) + number(1, 1) + number(0, 2) +
                                         number(20, 2) + number(1, 2) + "kavel_kevent" +
                                         std::string(4, '\0'));
    EXPECT_EQ(kernel.received(), "");
}

TEST_F(KeventThread, LooksItsFamilyUp) {
    kernel.messages = {familyReply(0x1c)};
    kernel.run(*thread);
    const std::string pid = number(static_cast<uint64_t>(getpid()), 4);
    EXPECT_EQ(kernel.received(), number(40, 4) + number(16, 2) + number(1, 2) + number(0, 4) + pid +
                                         number(3, 1) + number(1, 1) + number(0, 2) +
                                         number(20, 2) + number(2, 2) + "kavel_monitor" +
                                         std::string(3, '\0'));
}

TEST_F(KeventThread, RegistersInTheOldDialect) {
    kernel.release = "4.19.157-perf";
    EXPECT_EQ(kernel.run(*thread), std::nullopt);
    EXPECT_THAT(kernel.protocols, ElementsAre(43));
    EXPECT_EQ(kernel.received(), number(28, 4) + number(1, 2) + number(0, 2) + number(0, 4) +
                                         number(static_cast<uint64_t>(getpid()), 4) +
                                         "kavel_kevent");
    EXPECT_EQ(kernel.received(), "");
    EXPECT_TRUE(kernel.isWellAddressed);
}

// Would catch a changed set-up line, priority or order, and a failure that does not end the thread.
TEST_F(KeventThread, SetUpLines) {
    const std::string fd = fdText(nextFd());
    const std::vector<std::string> bound = {
            fd, "E KavelKeventThread socket bind pid " + pidText() + ".", "E bind ret 0"};
    const std::vector<std::string> gki2 = {"E GKI2 is true", "E mIsGki2 is true", "E GKI2 is true"};
    const std::vector<std::string> compat = {"E GKI2 is false", "E mIsGki2 is false",
                                             "E GKI2 is false"};
    const std::string refused = "E KavelKeventThread send to kernel my pid failed.";
    struct Case {
        const char* release;
        int socketError, bindError, sendError;
        bool familyIsKnown;
        std::optional<bool> result;
        std::vector<std::vector<std::string>> lines;
    };
    const Case cases[] = {
            {"5.10.0",
             0,
             0,
             0,
             true,
             std::nullopt,
             {gki2, bound, {"I KavelKeventThread recvKeventGki2"}}},
            {"5.10.0",
             0,
             0,
             EPERM,
             true,
             std::nullopt,
             {gki2, bound, {refused, "I KavelKeventThread recvKeventGki2"}}},
            {"5.10.0",
             0,
             0,
             0,
             false,
             false,
             {gki2, bound, {"E KavelKeventThread get genl family id failed."}}},
            {"4.19.157",
             0,
             0,
             0,
             true,
             std::nullopt,
             {compat,
              bound,
              {"I KavelKeventThread sendKevent",
               "I KavelKeventThread send: type=0x1, flag=0x0, data=kavel_kevent, len=12", refused,
               "I KavelKeventThread recvKevent"}}},
            {"4.19.157",
             0,
             0,
             ECONNREFUSED,
             true,
             std::nullopt,
             {compat,
              bound,
              {"I KavelKeventThread sendKevent",
               "I KavelKeventThread send: type=0x1, flag=0x0, data=kavel_kevent, len=12",
               "E KavelKeventThread send error -1", refused, "I KavelKeventThread recvKevent"}}},
            {"4.19.157",
             EPROTONOSUPPORT,
             0,
             0,
             true,
             false,
             {compat,
              {fdText(-1), "E can not create a socket -1 " + std::to_string(EPROTONOSUPPORT)}}},
            {"5.10.0",
             0,
             EADDRINUSE,
             0,
             true,
             false,
             {gki2, {fd, bound[1], "E bind ret -1", "E KavelKeventThread socket bind error."}}},
            {"5.15",
             EMFILE,
             0,
             0,
             true,
             false,
             {{"E KavelKeventThread get kerenl version from uname: 5.15 failed",
               "E can not get kernel version, default treat mIsGki2 as false", "E mIsGki2 is false",
               "E KavelKeventThread get kerenl version from uname: 5.15 failed", fdText(-1),
               "E can not create a socket -1 " + std::to_string(EMFILE)}}},
            {"",
             EMFILE,
             0,
             0,
             true,
             false,
             {{"E KavelKeventThread uname call failed",
               "E can not get kernel version, default treat mIsGki2 as false", "E mIsGki2 is false",
               "E KavelKeventThread uname call failed", fdText(-1),
               "E can not create a socket -1 " + std::to_string(EMFILE)}}},
    };
    for (const Case& c : cases) {
        thread = new KavelKeventThread(keepPacket);
        kernel.release = c.release;
        kernel.socketError = c.socketError;
        kernel.bindError = c.bindError;
        kernel.messages.clear();
        if (std::string(c.release) == "5.10.0") {
            kernel.messages = {c.familyIsKnown ? familyReply(0x1c) : familyReply({}).substr(0, 15)};
        }
        kernel.sendFaults.clear();
        if (c.sendError != 0 && !kernel.messages.empty()) kernel.sendFaults = {1000};  // look-up
        if (c.sendError != 0) kernel.sendFaults.push_back(-c.sendError);
        EXPECT_EQ(kernel.run(*thread), c.result) << c.release;
        std::vector<std::string> expected;
        for (const auto& part : c.lines) expected.insert(expected.end(), part.begin(), part.end());
        EXPECT_THAT(takeLog(), ElementsAreArray(expected)) << c.release;
    }
    thread.clear();
    EXPECT_EQ(fdText(nextFd()), fd);  // no socket stays open
}

// Would catch a family id that is taken from the wrong place or from a reply that is none.
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

// Would catch a packet with the type that stands in its own bytes, or one dropped for its type, and
// a callback that may not send because the lock is held.
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
    const std::vector<std::string> log = takeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), "E recvKeventGki2 invalid attr type"), 3);
    EXPECT_THAT(log, testing::IsSupersetOf(
                             {"I KavelKeventThread recv type=3, tag=t, event_id=e, payload:p3, "
                              "len=2",
                              "D KavelKeventThread hook recv", "D KavelKeventThread hook ret=0",
                              "D KavelKeventThread hook ret=1"}));
}

TEST_F(KeventThread, OldDialectKeepsThePacketType) {
    kernel.release = "5.9.255";
    kernel.messages = {compatMessage(packet(3, "t", "e", "p")),
                       compatMessage(packet(7, "", "", ""))};
    kernel.run(*thread);
    EXPECT_THAT(sDelivered, ElementsAre(Delivered{3, "t", "e", "p"}, Delivered{7, "", "", ""}));
}

// Would catch text that is read past the end of the receive buffer (with ASan), or of an earlier
// packet in a shorter one.
TEST_F(KeventThread, PayloadEndsWithTheBuffer) {
    const std::string endless(2000, 'A');
    runWith({genlMessage(3, packet(3, endless.substr(0, 128), endless.substr(0, 128), endless)),
             genlMessage(3, packet(3, "t", "e", "short"))});
    ASSERT_EQ(sDelivered.size(), 2U);
    EXPECT_EQ(sDelivered[0].payload, endless.substr(0, 720));
    EXPECT_EQ(sDelivered[1], (Delivered{3, "t", "e", "short"}));

    thread = new KavelKeventThread(keepPacket);
    kernel.release = "5.9.255";
    kernel.messages = {compatMessage(packet(3, "", "", endless))};
    kernel.run(*thread);
    EXPECT_EQ(sDelivered.back().payload, endless.substr(0, 728));
}

// Would catch a pause, a callback or an end on a failed receive, and a log that floods.
TEST_F(KeventThread, FailedReceivesTurnAtOnceAndAreThinned) {
    kernel.receiveFaults.assign(1000, -ENOMEM);
    kernel.receiveFaults.push_back(0);  // of no length: fails, but without an error number
    runWith({genlMessage(3, packet(3, "t", "e", "p"))});
    EXPECT_EQ(kernel.receives, 1001 + 2);
    EXPECT_EQ(sDelivered.size(), 1U);
    EXPECT_EQ(fake::logCount("receive from kernel failed"), 10U);  // 1, 2, 4 ... 512
    EXPECT_EQ(fake::logCount("receive failed 512 times in a row, errno 12"), 1U);
    EXPECT_EQ(fake::logCount("recvKeventGki2"), 2U);  // the first and, after the packet, the last
}

// Would catch a reader that ends or stops when the kernel had to drop packets.
TEST_F(KeventThread, GoesOnAfterAnOverrun) {
    kernel.release = "5.9.255";
    kernel.multicast = compatMessage(packet(3, "t", "e", std::string(700, 'p')));
    kernel.multicastCount = 2000;
    EXPECT_EQ(kernel.run(*thread), std::nullopt);
    if (sDelivered.empty()) GTEST_SKIP() << "joining a netlink group needs CAP_NET_ADMIN";
    EXPECT_LT(sDelivered.size(), 2000U);
    EXPECT_EQ(fake::logCount("receive from kernel failed"), 1U);
    EXPECT_EQ(kernel.receives, static_cast<int>(sDelivered.size()) + 2);
}

// Would catch a buffer that is raised before the bind, not at all, or with a line.
TEST_F(KeventThread, RaisesTheReceiveBufferSilently) {
    runWith({});
    EXPECT_THAT(kernel.bufferOptions, ElementsAre(SO_RCVBUFFORCE));
    const std::vector<std::string> log = takeLog();
    thread = new KavelKeventThread(keepPacket);
    kernel.bufferOptions.clear();
    kernel.mayForceBuffer = false;
    kernel.run(*thread);
    EXPECT_THAT(kernel.bufferOptions, ElementsAre(SO_RCVBUFFORCE, SO_RCVBUF));
    EXPECT_EQ(takeLog(), log);
}

// Would catch bytes that are lost, sent twice, or given up where sending only has to go on.
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

// Would catch a message that overruns its buffer, and a limit that is off by one.
TEST_F(KeventThread, LengthLimits) {
    runWith({});
    kernel.received();
    takeLog();
    const std::string text(1012, 'x');
    for (const auto& [length, result] :
         {std::pair{1007, 0}, {1008, -1}, {1011, -1}, {1012, -1}, {-1, -1}}) {
        EXPECT_EQ(thread->sendKeventGki2(text.c_str(), length), result) << length;
        EXPECT_EQ(kernel.received().size(), result == 0 ? 1032U : 0U) << length;
        EXPECT_THAT(takeLog(), testing::SizeIs(length == 1012 ? 1 : 0)) << length;
    }
    EXPECT_EQ(thread->sendKeventComp(0x12, 0x34, text.substr(1).c_str()), 1027);
    EXPECT_EQ(kernel.received(), number(1027, 4) + number(0x12, 2) + number(0x34, 2) +
                                         number(0, 4) + number(static_cast<uint64_t>(getpid()), 4) +
                                         text.substr(1));
    EXPECT_EQ(thread->sendKeventComp(1, 0, text.c_str()), -1);
    EXPECT_EQ(kernel.received(), "");
}

// Would catch a thread that does not start, or that delivers on another one.
TEST_F(KeventThread, RunsAsAThread) {
    static TestKernel* sKernel = nullptr;
    class EndingThread : public KavelKeventThread {
      public:
        using KavelKeventThread::KavelKeventThread;
        bool threadLoop() override { return sKernel->run(*this).value_or(false); }
    };
    static std::atomic<pid_t> sTid;
    sKernel = &kernel;
    kernel.messages = {familyReply(0x1c)};
    kernel.blocksAtEnd = true;
    thread = new EndingThread([](kavel_kevent_packet* packet) {
        sTid = gettid();
        return keepPacket(packet);
    });
    ASSERT_EQ(thread->run("dravo_kavel_kevent", 0, 0), NO_ERROR);
    kernel.received(true);
    EXPECT_EQ(kernel.received(true).size(), 40U);
    kernel.send(genlMessage(1, packet(0, "t", "e", "p")));
    kernel.send(std::string(kEnd));
    thread->join();
    EXPECT_THAT(sDelivered, ElementsAre(Delivered{1, "t", "e", "p"}));
    EXPECT_NE(sTid, gettid());
}

}  // namespace
}  // namespace android::kavel::test
