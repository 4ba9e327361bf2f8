#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "host/binder/Frame.h"
#include "tests/host_binder/BinderTest.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

using kavel::test::eventually;

constexpr uint32_t kOneWay = IBinder::FLAG_ONEWAY;
constexpr auto kLimit = static_cast<int32_t>(kavel::host::kTransactionSpace);

class CallTest : public BinderTest {};

// Would catch bodies that are lost or changed where a packet no longer holds them, a limit that is
// off by one, and a connection that a refusal ends.
TEST_F(CallTest, BodiesArriveUpToTheLimit) {
    const ServerProcess server("echo");
    for (const size_t count : {0u, 1u, 16'000u, 16'500u, 50'000u, 250'000u}) {
        std::vector<int32_t> sent(count);
        for (size_t i = 0; i < count; ++i) sent[i] = static_cast<int32_t>(i * 2654435761u);
        Parcel reply;
        ASSERT_EQ(call(server.service(), ECHO, sent, &reply), NO_ERROR) << count;
        std::vector<int32_t> received(reply.dataSize() / sizeof(int32_t));
        reply.read(received.data(), reply.dataSize());
        EXPECT_EQ(received, sent);
    }
    Parcel reply;
    EXPECT_EQ(call(server.service(), GROW, {kLimit}, &reply), NO_ERROR);
    EXPECT_EQ(reply.dataSize(), size_t{kLimit});
    EXPECT_EQ(call(server.service(), GROW, {kLimit + 1}, &reply), FAILED_TRANSACTION);
    Parcel large;
    large.setDataSize(kLimit + 1);
    EXPECT_EQ(server.service()->transact(ECHO, large, &reply), FAILED_TRANSACTION);
    EXPECT_EQ(server.service()->pingBinder(), NO_ERROR);
}

// Would catch calls that get lost, mixed up or reordered when many clients call at once; one-way
// calls that meet are found by the thread sanitizer.
TEST_F(CallTest, ServesManyClientsInOrder) {
    constexpr int32_t kClients = 32;
    constexpr int32_t kCalls = 50;
    const ServerProcess server("many");
    std::atomic<int> failures{0};
    std::vector<std::thread> clients;
    clients.reserve(kClients);
    for (int32_t client = 0; client < kClients; ++client) {
        clients.emplace_back([&, client] {
            const sp<IBinder> service = client % 2 == 0 ? server.service() : check("many");
            for (int32_t number = 0; number < kCalls; ++number) {
                Parcel reply;
                failures += call(service, RECORD, {client, number}, nullptr, kOneWay) != NO_ERROR;
                failures += call(service, ECHO, {client, number}, &reply) != NO_ERROR;
                failures += reply.readInt32() != client || reply.readInt32() != number;
            }
        });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(failures, 0);

    Parcel reply;
    ASSERT_TRUE(eventually([&] {
        EXPECT_EQ(call(server.service(), RECORDS, {}, &reply), NO_ERROR);
        return reply.readInt32() == kClients * kCalls;
    }));
    std::map<int32_t, int32_t> next;
    for (int32_t i = 0; i < kClients * kCalls; ++i) {
        const int32_t client = reply.readInt32();
        ASSERT_EQ(reply.readInt32(), next[client]++) << client;
    }
}

// Would catch a pool that stays too small or grows too large.
TEST_F(CallTest, RunsAsManyCallsAsThePoolHasThreads) {
    constexpr int kPool = 3;
    ServerProcess server("pool", kPool);
    server.order(CLOSE_GATE);
    std::vector<std::thread> callers;
    for (int i = 0; i < 3 * kPool; ++i) {
        callers.emplace_back([&] { EXPECT_EQ(call(server.service(), PASS_GATE), NO_ERROR); });
    }
    EXPECT_TRUE(eventually([&] { return server.order(AT_GATE) == kPool; }));
    int named = 0;
    const std::string process = std::to_string(server.pid());
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + process + "/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        named += name.rfind("Binder:" + process + "_", 0) == 0;
    }
    EXPECT_EQ(named, kPool);
    server.order(OPEN_GATE);
    for (std::thread& caller : callers) caller.join();
}

// Would catch one-way calls that block their sender, are lost silently, or stay refused after the
// queue has drained; and a full one-way queue that stops two-way calls.
TEST_F(CallTest, RefusesOneWayCallsWhenTheirRoomIsFull) {
    ServerProcess server("full");
    server.order(CLOSE_GATE);
    ASSERT_EQ(call(server.service(), PASS_GATE, {}, nullptr, kOneWay), NO_ERROR);
    ASSERT_TRUE(eventually([&] { return server.order(AT_GATE) == 1; }));
    const std::vector<int32_t> arguments(4096);  // 16 KiB
    const auto record = [&] { return call(server.service(), RECORD, arguments, nullptr, kOneWay); };
    int32_t accepted = 0;
    status_t status = NO_ERROR;
    while (accepted < 100 && (status = record()) == NO_ERROR) ++accepted;
    EXPECT_EQ(status, FAILED_TRANSACTION);
    EXPECT_EQ(accepted, 31);  // of 16.1 KiB each, in 508 KiB
    EXPECT_EQ(call(server.service(), ECHO), NO_ERROR);

    server.order(OPEN_GATE);
    EXPECT_TRUE(eventually([&] { return record() == NO_ERROR; }));
    EXPECT_TRUE(eventually([&] {
        Parcel reply;
        EXPECT_EQ(call(server.service(), RECORDS, {}, &reply), NO_ERROR);
        return reply.readInt32() == accepted + 1;
    }));
}

// Would catch a proxy that hangs on a dead server or silently calls its successor, and a name that
// a dead server's socket keeps from being used again.
TEST_F(CallTest, NoticesDeathAndFindsTheSuccessor) {
    ServerProcess first("mortal");
    first.kill();
    EXPECT_EQ(check("mortal"), nullptr);

    const ServerProcess successor("mortal");
    EXPECT_EQ(call(first.service(), ECHO), DEAD_OBJECT);
    EXPECT_EQ(call(first.service(), RECORD, {1, 1}, nullptr, kOneWay), DEAD_OBJECT);
    EXPECT_EQ(successor.service()->pingBinder(), NO_ERROR);
    EXPECT_EQ(call(successor.service(), DIE), DEAD_OBJECT);
}

// Would catch callers left hanging when the server is killed while they wait for it.
TEST_F(CallTest, ReleasesCallersOfAKilledServer) {
    ServerProcess server("killed", 1);
    server.order(CLOSE_GATE);
    const auto blocked = [&] { EXPECT_EQ(call(server.service(), PASS_GATE), DEAD_OBJECT); };
    std::thread handled(blocked);
    EXPECT_TRUE(eventually([&] { return server.order(AT_GATE) == 1; }));
    std::thread queued(blocked);
    server.kill();
    handled.join();
    queued.join();
}

// Would catch names that leave the directory.
TEST_F(CallTest, RefusesNamesThatAreNoFileNames) {
    const sp<IServiceManager> manager = defaultServiceManager();
    for (const char* name : {"", ".", "..", "../up", ".hidden", "a b", "a\nb"}) {
        EXPECT_EQ(manager->addService(String16(name), new BBinder), BAD_VALUE) << name;
        EXPECT_EQ(check(name), nullptr) << name;
    }
    EXPECT_EQ(manager->addService(String16("null"), nullptr), UNEXPECTED_NULL);
}

}  // namespace
