// Would catch bodies that are lost or changed if they do not fit into a packet; a limit that is off
// by one; calls that are lost, mixed up or reordered if many clients call at once (the thread
// sanitizer finds one-way calls that overlap); a pool of the wrong size; one-way calls that block
// their sender, are lost silently, or are refused forever; a proxy or caller that hangs if the
// server is dead, or silently calls another server of that name; names that lead out of the
// directory. The servers run this program too: NAME POOL_SIZE.

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <mutex>
#include <thread>

#include "host/binder/Frame.h"
#include "host/binder/ServiceDirectory.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using test::eventually;

constexpr uint32_t kOneWay = IBinder::FLAG_ONEWAY;
constexpr auto kLimit = static_cast<int32_t>(kTransactionSpace);

/** Transactions of a test server's object. */
enum Code : uint32_t {
    ECHO = IBinder::FIRST_CALL_TRANSACTION,  ///< replies what was sent
    PASS_GATE,  ///< writes a byte to the gate's file, and returns when the file is not locked
    RECORD,     ///< keeps sender and number, two int32
    RECORDS,    ///< replies the count, and each sender and number
    DIE,        ///< ends the process in the middle of the call
    GROW,       ///< replies as many bytes as asked for
};

class TestObject : public BBinder {
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        switch (code) {
            case ECHO:
                return reply->appendFrom(&data, 0, data.dataSize());
            case PASS_GATE: {
                const char* const path = getenv("KAVEL_TEST_GATE");
                if (path == nullptr) return NAME_NOT_FOUND;
                const base::unique_fd gate(open(path, O_WRONLY | O_APPEND | O_CLOEXEC));
                const bool isLeft = write(gate.get(), "x", 1) == 1;
                return isLeft && flock(gate.get(), LOCK_SH) == 0 ? NO_ERROR : UNKNOWN_ERROR;
            }
            case RECORD: {
                ++mUnlocked;
                const std::lock_guard lock(mLock);
                mRecords.push_back(data.readInt32());
                mRecords.push_back(data.readInt32());
                return NO_ERROR;
            }
            case RECORDS: {
                const std::lock_guard lock(mLock);
                reply->writeInt32(static_cast<int32_t>(mRecords.size() / 2));
                return reply->write(mRecords.data(), mRecords.size() * sizeof(int32_t));
            }
            case DIE:
                _exit(0);
            case GROW:
                return reply->setDataSize(static_cast<size_t>(data.readInt32()));
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

    int32_t mUnlocked = 0;  // on purpose: one-way calls to one object must not meet
    std::mutex mLock;
    std::vector<int32_t> mRecords;
};

/** A test server in a process of its own; ended with the object. */
class ServerProcess {
  public:
    explicit ServerProcess(std::string name, size_t poolSize = 4) {
        std::string program = KAVEL_TEST_SERVER;
        std::string size = std::to_string(poolSize);
        char* arguments[] = {program.data(), name.data(), size.data(), nullptr};
        EXPECT_EQ(posix_spawn(&pid, arguments[0], nullptr, nullptr, arguments, environ), 0);
        EXPECT_TRUE(eventually([&] {
            service = defaultServiceManager()->checkService(String16(name.c_str()));
            return service != nullptr;
        }));
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() { kill(); }

    void kill() {
        if (pid > 0) ::kill(pid, SIGKILL);
        if (pid > 0) waitpid(std::exchange(pid, -1), nullptr, 0);
    }

    pid_t pid = -1;
    sp<IBinder> service;
};

status_t call(const sp<IBinder>& service, uint32_t code, const std::vector<int32_t>& arguments = {},
              Parcel* reply = nullptr, uint32_t flags = 0) {
    Parcel data;
    data.write(arguments.data(), arguments.size() * sizeof(int32_t));
    return service->transact(code, data, reply, flags);
}

class CallTest : public testing::Test {
  protected:
    CallTest() {
        setenv("KAVEL_HOST_BINDER_DIR", (mDirectory / "").c_str(), 1);
        setenv("KAVEL_TEST_GATE", mDirectory.write(".gate", "").c_str(), 1);
    }

    /** Keeps the gate closed until the descriptor is. */
    base::unique_fd closeGate() const {
        base::unique_fd gate(open((mDirectory / ".gate").c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(flock(gate.get(), LOCK_EX), 0);
        return gate;
    }
    /** Waits until @p count calls have come to the gate. */
    bool areAtGate(size_t count) const {
        return eventually([&] { return test::contentOf(mDirectory / ".gate").size() == count; });
    }
    static sp<IBinder> check(const char* name) {
        return defaultServiceManager()->checkService(String16(name));
    }

    const test::TempDir mDirectory;
};

TEST_F(CallTest, BodiesArriveUpToTheLimit) {
    const ServerProcess server("echo");
    for (const size_t count : {0u, 1u, 16'000u, 16'500u, 50'000u, 250'000u}) {
        std::vector<int32_t> sent(count);
        for (size_t i = 0; i < count; ++i) sent[i] = static_cast<int32_t>(i * 2654435761u);
        Parcel reply;
        ASSERT_EQ(call(server.service, ECHO, sent, &reply), NO_ERROR) << count;
        std::vector<int32_t> received(reply.dataSize() / sizeof(int32_t));
        reply.read(received.data(), reply.dataSize());
        EXPECT_EQ(received, sent);
    }
    Parcel reply;
    EXPECT_EQ(call(server.service, GROW, {kLimit}, &reply), NO_ERROR);
    EXPECT_EQ(reply.dataSize(), size_t{kLimit});
    EXPECT_EQ(call(server.service, GROW, {kLimit + 1}, &reply), FAILED_TRANSACTION);
    Parcel large;
    large.setDataSize(kLimit + 1);
    EXPECT_EQ(server.service->transact(ECHO, large, &reply), FAILED_TRANSACTION);
    EXPECT_EQ(server.service->pingBinder(), NO_ERROR);
}

TEST_F(CallTest, ServesManyClientsInOrder) {
    constexpr int32_t kClients = 32;
    constexpr int32_t kCalls = 50;
    const ServerProcess server("many");
    std::vector<std::thread> clients;
    for (int32_t client = 0; client < kClients; ++client) {
        clients.emplace_back([&, client] {
            const sp<IBinder> service = client % 2 == 0 ? server.service : check("many");
            for (int32_t number = 0; number < kCalls; ++number) {
                Parcel reply;
                EXPECT_EQ(call(service, RECORD, {client, number}, nullptr, kOneWay), NO_ERROR);
                EXPECT_EQ(call(service, ECHO, {client, number}, &reply), NO_ERROR);
                EXPECT_EQ(reply.readInt32(), client);
                EXPECT_EQ(reply.readInt32(), number);
            }
        });
    }
    for (std::thread& client : clients) client.join();
    Parcel reply;
    ASSERT_TRUE(eventually([&] {
        EXPECT_EQ(call(server.service, RECORDS, {}, &reply), NO_ERROR);
        return reply.readInt32() == kClients * kCalls;
    }));
    std::map<int32_t, int32_t> next;
    for (int32_t i = 0; i < kClients * kCalls; ++i) {
        const int32_t client = reply.readInt32();
        ASSERT_EQ(reply.readInt32(), next[client]++) << client;
    }
}

TEST_F(CallTest, RunsAsManyCallsAsThePoolHasThreads) {
    constexpr size_t kPool = 3;
    const ServerProcess server("pool", kPool);
    base::unique_fd gate = closeGate();
    std::vector<std::thread> callers;
    for (size_t i = 0; i < 3 * kPool; ++i) {
        callers.emplace_back([&] { EXPECT_EQ(call(server.service, PASS_GATE), NO_ERROR); });
    }
    EXPECT_TRUE(areAtGate(kPool));
    gate.reset();
    for (std::thread& caller : callers) caller.join();
}

TEST_F(CallTest, RefusesOneWayCallsWhenTheirRoomIsFull) {
    const ServerProcess server("full");
    base::unique_fd gate = closeGate();
    ASSERT_EQ(call(server.service, PASS_GATE, {}, nullptr, kOneWay), NO_ERROR);
    ASSERT_TRUE(areAtGate(1));
    const std::vector<int32_t> arguments(4096);  // 16 KiB
    const auto record = [&] { return call(server.service, RECORD, arguments, nullptr, kOneWay); };
    int32_t accepted = 0;
    while (accepted < 100 && record() == NO_ERROR) ++accepted;
    EXPECT_EQ(record(), FAILED_TRANSACTION);
    EXPECT_EQ(accepted, 31);  // of 16.1 KiB each, in 508 KiB
    EXPECT_EQ(call(server.service, ECHO), NO_ERROR);

    gate.reset();
    EXPECT_TRUE(eventually([&] { return record() == NO_ERROR; }));
    EXPECT_TRUE(eventually([&] {
        Parcel reply;
        EXPECT_EQ(call(server.service, RECORDS, {}, &reply), NO_ERROR);
        return reply.readInt32() == accepted + 1;
    }));
}

TEST_F(CallTest, NoticesDeathAndFindsTheSuccessor) {
    ServerProcess first("mortal", 1);
    const base::unique_fd gate = closeGate();
    const auto blocked = [&] { EXPECT_EQ(call(first.service, PASS_GATE), DEAD_OBJECT); };
    std::thread handled(blocked);
    EXPECT_TRUE(areAtGate(1));
    std::thread queued(blocked);
    first.kill();
    handled.join();
    queued.join();
    EXPECT_EQ(check("mortal"), nullptr);

    const ServerProcess successor("mortal");
    EXPECT_EQ(call(first.service, ECHO), DEAD_OBJECT);
    EXPECT_EQ(call(first.service, RECORD, {1, 1}, nullptr, kOneWay), DEAD_OBJECT);
    EXPECT_EQ(successor.service->pingBinder(), NO_ERROR);
    EXPECT_EQ(call(successor.service, DIE), DEAD_OBJECT);
}

TEST_F(CallTest, RefusesNamesThatAreNoFileNames) {
    const sp<IServiceManager> manager = defaultServiceManager();
    for (const char* name : {"", ".", "..", "../up", ".hidden", "a b", "a\nb"}) {
        EXPECT_EQ(manager->addService(String16(name), new BBinder), BAD_VALUE) << name;
        EXPECT_EQ(check(name), nullptr) << name;
    }
    EXPECT_EQ(manager->addService(String16("null"), nullptr), UNEXPECTED_NULL);
}

TEST_F(CallTest, DropsWhatIsNoFrame) {
    constexpr uint32_t kMagic = 0x3142564b;
    const std::vector<uint32_t> packets[] = {
            {kMagic, 1},                           // part of a header
            {kMagic, 1, 0, 100, 1, 2, 3},          // half a frame
            {kMagic, 1, 0, 4, 1, 2},               // more than a frame
            {0xdeadbeef, 1, 0, 4, 1},              // garbage
            {kMagic, 1, 0, uint32_t{kLimit} + 1},  // just too large
            {kMagic, 1, 0, 70'001},                // large without its memory
    };
    const ServerProcess server("target");
    for (const auto& packet : packets) {
        std::string address;
        const base::unique_fd hostile = connectTo(mDirectory / "target", &address);
        const size_t size = packet.size() * sizeof(uint32_t);
        EXPECT_EQ(send(hostile.get(), packet.data(), size, 0), static_cast<ssize_t>(size));
        EXPECT_EQ(call(server.service, ECHO), NO_ERROR);
        char byte = 0;
        EXPECT_LE(recv(hostile.get(), &byte, sizeof(byte), 0), 0);
    }
}

TEST_F(CallTest, OneWaySenderOutlivesAStoppedServer) {
    const ServerProcess server("target");
    ASSERT_EQ(kill(server.pid, SIGSTOP), 0);
    ASSERT_EQ(waitpid(server.pid, nullptr, WUNTRACED), server.pid);  // each thread is stopped
    EXPECT_EQ(call(server.service, RECORD, {1, 1}, nullptr, kOneWay), FAILED_TRANSACTION);
    ASSERT_EQ(kill(server.pid, SIGCONT), 0);
    EXPECT_EQ(call(server.service, ECHO), NO_ERROR);
}

}  // namespace
}  // namespace android::kavel::host

int main(int argc, char** argv) {
    using namespace android;  // NOLINT(google-build-using-namespace)
    testing::InitGoogleTest(&argc, argv);
    if (argc != 3) return RUN_ALL_TESTS();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    ProcessState::self()->setThreadPoolMaxThreadCount(strtoul(argv[2], nullptr, 10));
    ProcessState::self()->startThreadPool();
    defaultServiceManager()->addService(String16(argv[1]), new kavel::host::TestObject);
    for (;;) pause();
}
