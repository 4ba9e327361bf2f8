#include <binder/IPCThreadState.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utils/String8.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "host/binder/Frame.h"
#include "tests/host_binder/BinderTest.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

constexpr uint32_t kOneWay = IBinder::FLAG_ONEWAY;

/** Calls the threads of @p pid that belong to the runtime. */
void forEachRuntimeThread(pid_t pid, const std::function<void(const std::string&)>& visit) {
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        const bool isRuntime = name.rfind("Binder:", 0) == 0 || name == "binder_receive";
        if (isRuntime) visit(task.path());
    }
}

class CallTest : public BinderTest {};

// Catches fields that change on the way, and bodies lost where a packet no longer holds them.
TEST_F(CallTest, EchoesEveryFieldType) {
    ServerProcess server("echo");
    const sp<IBinder> service = get("echo");
    ASSERT_NE(service, nullptr);
    for (const size_t length : {0u, 1u, 2u, 1000u, 32'000u, 33'000u, 100'000u, 500'000u}) {
        const String16 text16(std::u16string(length, u'\u20ac').c_str(), length);
        const String8 text8(std::string(length % 1001, 'e').c_str());
        Parcel data;
        data.writeInterfaceToken(String16(kDescriptor));
        data.writeInt32(INT32_MIN);
        data.writeInt64(INT64_MIN);
        data.writeUint32(UINT32_MAX);
        data.writeUint64(UINT64_MAX);
        data.writeBool(true);
        data.writeByte(-128);
        data.writeChar(u'\uffff');
        data.writeFloat(1.5f);
        data.writeDouble(-2.5);
        data.writeCString("c");
        data.writeString8(text8);
        data.writeString16(text16);
        Parcel reply;
        ASSERT_EQ(service->transact(ECHO, data, &reply), NO_ERROR) << length;
        EXPECT_EQ(reply.readInt32(), INT32_MIN);
        EXPECT_EQ(reply.readInt64(), INT64_MIN);
        EXPECT_EQ(reply.readUint32(), UINT32_MAX);
        EXPECT_EQ(reply.readUint64(), UINT64_MAX);
        EXPECT_TRUE(reply.readBool());
        EXPECT_EQ(reply.readByte(), -128);
        EXPECT_EQ(reply.readChar(), u'\uffff');
        EXPECT_EQ(reply.readFloat(), 1.5f);
        EXPECT_EQ(reply.readDouble(), -2.5);
        EXPECT_STREQ(reply.readCString(), "c");
        EXPECT_EQ(reply.readString8(), text8);
        EXPECT_EQ(reply.readString16(), text16);
        EXPECT_EQ(reply.dataAvail(), 0u);
    }
}

// Catches a runtime that confuses its own codes, the handler's refusals and its own limits.
TEST_F(CallTest, AnswersWithStatus) {
    ServerProcess server("status");
    const sp<IBinder> service = get("status");
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->pingBinder(), NO_ERROR);
    EXPECT_EQ(service->getInterfaceDescriptor(), String16(kDescriptor));
    EXPECT_EQ(service->queryLocalInterface(String16(kDescriptor)), nullptr);
    EXPECT_EQ(call(service, 999), UNKNOWN_TRANSACTION);
    Parcel stranger;
    stranger.writeInterfaceToken(String16("someone.else"));
    Parcel reply;
    EXPECT_EQ(service->transact(ECHO, stranger, &reply), PERMISSION_DENIED);
    EXPECT_EQ(service->transact(ECHO, Parcel(), &reply), PERMISSION_DENIED);

    constexpr auto kLimit = static_cast<int32_t>(kavel::host::kTransactionSpace);
    EXPECT_EQ(call(service, GROW, {kLimit}, &reply), NO_ERROR);
    EXPECT_EQ(reply.dataSize(), size_t{kLimit});
    EXPECT_EQ(call(service, GROW, {kLimit + 1}, &reply), FAILED_TRANSACTION);
    Parcel large;
    large.setDataSize(kLimit + 1);
    EXPECT_EQ(service->transact(ECHO, large, &reply), FAILED_TRANSACTION);
    EXPECT_EQ(service->pingBinder(), NO_ERROR);
}

// Catches a caller taken for another: another user, or a pid where the driver tells none.
TEST_F(CallTest, TellsTheCaller) {
    ServerProcess server("caller");
    ASSERT_NE(get("caller"), nullptr);
    std::vector<uid_t> users = {geteuid()};
    if (geteuid() == 0) users.push_back(1000);
    for (const uid_t user : users) {
        std::thread([user] {
            // The bare system call changes this thread only.
            ASSERT_EQ(syscall(SYS_setresuid, -1, user, -1), 0);
            const sp<IBinder> service = check("caller");
            ASSERT_NE(service, nullptr);
            Parcel reply;
            ASSERT_EQ(call(service, CALLER, {}, &reply), NO_ERROR);
            EXPECT_EQ(reply.readInt32(), getpid());
            EXPECT_EQ(reply.readUint32(), user);
            Parcel none;
            ASSERT_EQ(call(service, RECORD, {1, 1}, nullptr, kOneWay), NO_ERROR);
            ASSERT_TRUE(becomesTrue([&] {
                EXPECT_EQ(call(service, RECORDS, {}, &reply), NO_ERROR);
                return reply.readInt32() == 0 && reply.readUint32() == user;
            }));
        }).join();
    }
    // Outside a call the caller is the process itself.
    EXPECT_EQ(IPCThreadState::self()->getCallingPid(), getpid());
    EXPECT_EQ(IPCThreadState::self()->getCallingUid(), getuid());
}

// Catches calls that get lost, mixed up or reordered when many clients call at once; one-way calls
// that meet are found by the thread sanitizer.
TEST_F(CallTest, ServesManyClientsInOrder) {
    constexpr int32_t kClients = 32;
    constexpr int32_t kCalls = 50;
    ServerProcess server("many");
    const sp<IBinder> shared = get("many");
    ASSERT_NE(shared, nullptr);
    std::atomic<int> failures{0};
    std::vector<std::thread> clients;
    clients.reserve(kClients);
    for (int32_t client = 0; client < kClients; ++client) {
        clients.emplace_back([&, client] {
            const sp<IBinder> service = client % 2 == 0 ? shared : check("many");
            for (int32_t number = 0; number < kCalls; ++number) {
                Parcel reply;
                failures += call(service, RECORD, {client, number}, nullptr, kOneWay) != NO_ERROR;
                failures += call(service, CALLER, {}, &reply) != NO_ERROR;
                failures += reply.readInt32() != getpid();
            }
        });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(failures, 0);

    Parcel reply;
    ASSERT_TRUE(becomesTrue([&] {
        EXPECT_EQ(call(shared, RECORDS, {}, &reply), NO_ERROR);
        reply.setDataPosition(2 * sizeof(int32_t));
        return reply.readInt32() == kClients * kCalls;
    }));
    std::map<int32_t, int32_t> next;
    for (int32_t i = 0; i < kClients * kCalls; ++i) {
        const int32_t client = reply.readInt32();
        ASSERT_EQ(reply.readInt32(), next[client]++) << client;
    }
}

// Catches a pool that stays too small, grows too large, or does not count the joined thread.
TEST_F(CallTest, RunsAsManyCallsAsThePoolHasThreads) {
    constexpr int kPool = 3;
    constexpr int kCallers = 10;
    for (const bool join : {false, true}) {
        ServerProcess server("pool", kPool, join);
        const sp<IBinder> service = get("pool");
        ASSERT_NE(service, nullptr);
        server.order(CLOSE_GATE);
        std::vector<std::thread> callers;
        callers.reserve(kCallers);
        std::atomic<int> failures{0};
        for (int i = 0; i < kCallers; ++i) {
            callers.emplace_back([&] { failures += call(service, PASS_GATE) != NO_ERROR; });
        }
        const int expected = kPool + (join ? 1 : 0);
        EXPECT_TRUE(becomesTrue([&] { return server.order(AT_GATE) == expected; }));
        int named = 0;
        const std::string prefix = "Binder:" + std::to_string(server.pid()) + "_";
        forEachRuntimeThread(server.pid(), [&](const std::string& task) {
            std::string name;
            std::getline(std::ifstream(task + "/comm"), name);
            named += name.compare(0, prefix.size(), prefix) == 0;
        });
        EXPECT_EQ(named, kPool);
        server.order(OPEN_GATE);
        for (std::thread& caller : callers) caller.join();
        EXPECT_EQ(failures, 0);
        EXPECT_EQ(server.order(MOST_AT_GATE), expected);
    }
}

// Catches one-way calls that block their sender, are lost silently, or stay refused after the
// queue has drained; and a full one-way queue that stops two-way calls.
TEST_F(CallTest, RefusesOneWayCallsWhenTheirRoomIsFull) {
    ServerProcess server("full");
    const sp<IBinder> service = get("full");
    ASSERT_NE(service, nullptr);
    server.order(CLOSE_GATE);
    ASSERT_EQ(call(service, PASS_GATE, {}, nullptr, kOneWay), NO_ERROR);
    ASSERT_TRUE(becomesTrue([&] { return server.order(AT_GATE) == 1; }));
    const std::vector<int32_t> arguments(4096);  // 16 KiB
    int32_t accepted = 0;
    status_t status = NO_ERROR;
    while (accepted < 100) {
        status = call(service, RECORD, arguments, nullptr, kOneWay);
        if (status != NO_ERROR) break;
        ++accepted;
    }
    EXPECT_EQ(status, FAILED_TRANSACTION);
    EXPECT_EQ(accepted, 31);  // of 16.1 KiB each, in 508 KiB
    EXPECT_EQ(call(service, CALLER), NO_ERROR);

    server.order(OPEN_GATE);
    EXPECT_TRUE(becomesTrue(
            [&] { return call(service, RECORD, arguments, nullptr, kOneWay) == NO_ERROR; }));
    EXPECT_TRUE(becomesTrue([&] {
        Parcel reply;
        EXPECT_EQ(call(service, RECORDS, {}, &reply), NO_ERROR);
        reply.setDataPosition(2 * sizeof(int32_t));
        return reply.readInt32() == accepted + 1;
    }));
}

// Catches threads that wake up though nothing happens, and threads that keep main from ending.
TEST_F(CallTest, SleepsWhenIdleAndEndsWithMain) {
    ServerProcess server("idle");
    const sp<IBinder> service = get("idle");
    ASSERT_NE(service, nullptr);
    ASSERT_EQ(service->pingBinder(), NO_ERROR);
    const auto switches = [&] {
        int64_t sum = 0;
        forEachRuntimeThread(server.pid(), [&](const std::string& task) {
            std::ifstream status(task + "/status");
            for (std::string line; std::getline(status, line);) {
                if (line.rfind("voluntary_ctxt_switches:", 0) == 0)
                    sum += std::stoll(line.substr(24));
            }
        });
        return sum;
    };
    // A thread may still be settling in the first second; one that polls never lets one pass.
    EXPECT_TRUE(becomesTrue([&] {
        const int64_t before = switches();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        return switches() == before;
    }));
    EXPECT_EQ(server.finish(), 0);
}

}  // namespace
