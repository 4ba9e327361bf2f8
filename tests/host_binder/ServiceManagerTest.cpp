#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <thread>

#include "tests/host_binder/BinderTest.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

class ServiceManagerTest : public BinderTest {};

// Catches a check that waits, and a get that gives up at once or never.
TEST_F(ServiceManagerTest, WaitsForMissingServicesAsLongAsItShould) {
    auto start = Clock::now();
    EXPECT_EQ(check("missing"), nullptr);
    EXPECT_FALSE(defaultServiceManager()->isDeclared(String16("missing")));
    EXPECT_LT(Clock::now() - start, seconds(1));
    start = Clock::now();
    EXPECT_EQ(get("missing"), nullptr);
    EXPECT_GE(Clock::now() - start, seconds(4));
    EXPECT_LT(Clock::now() - start, seconds(8));
}

// Catches a waiter that misses the service's arrival.
TEST_F(ServiceManagerTest, FindsAServiceThatComesLate) {
    auto waiter = std::async(std::launch::async, [] {
        return defaultServiceManager()->waitForService(String16("late"));
    });
    // Another name must not end the wait.
    ServerProcess other("other");
    ASSERT_NE(get("other"), nullptr);
    EXPECT_EQ(waiter.wait_for(seconds(0)), std::future_status::timeout);
    ServerProcess server("late");
    ASSERT_EQ(waiter.wait_for(seconds(20)), std::future_status::ready);
    EXPECT_EQ(waiter.get()->pingBinder(), NO_ERROR);
}

// Catches names that leave the directory, and listings with dead or unfinished services.
TEST_F(ServiceManagerTest, RegistersAndLists) {
    const sp<IServiceManager> manager = defaultServiceManager();
    const sp<BBinder> first = new BBinder;
    const sp<BBinder> second = new BBinder;
    for (const char* name : {"", ".", "..", "../up", ".hidden", "a b", "a\nb"}) {
        EXPECT_EQ(manager->addService(String16(name), first), BAD_VALUE) << name;
        EXPECT_EQ(check(name), nullptr) << name;
    }
    EXPECT_EQ(manager->addService(String16("null"), nullptr), UNEXPECTED_NULL);
    EXPECT_EQ(manager->addService(String16("local.b/default"), first), NO_ERROR);
    EXPECT_EQ(manager->addService(String16("local.a"), first), NO_ERROR);
    EXPECT_EQ(check("local.b/default"), first);
    EXPECT_EQ(check("local.a"), first);
    EXPECT_EQ(manager->addService(String16("local.a"), second), NO_ERROR);
    EXPECT_EQ(check("local.a"), second);

    std::ofstream(socketPath("no_socket")) << "text";
    {
        ServerProcess dead("dead");
        const sp<IBinder> remote = get("dead");
        ASSERT_NE(remote, nullptr);
        EXPECT_EQ(manager->addService(String16("again"), remote), INVALID_OPERATION);
    }
    const Vector<String16> names = manager->listServices();
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], String16("local.a"));
    EXPECT_EQ(names[1], String16("local.b/default"));
}

// Catches a proxy that hangs on a dead server or silently calls its successor, and a name that a
// dead server's socket keeps from being used again.
TEST_F(ServiceManagerTest, NoticesDeathAndFindsTheSuccessor) {
    auto server = std::make_unique<ServerProcess>("mortal");
    const sp<IBinder> service = get("mortal");
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->pingBinder(), NO_ERROR);
    server.reset();
    EXPECT_EQ(check("mortal"), nullptr);

    server = std::make_unique<ServerProcess>("mortal");
    const sp<IBinder> successor = get("mortal");
    ASSERT_NE(successor, nullptr);
    EXPECT_EQ(call(service, CALLER), DEAD_OBJECT);
    EXPECT_EQ(call(service, RECORD, {1, 1}, nullptr, IBinder::FLAG_ONEWAY), DEAD_OBJECT);
    EXPECT_EQ(service->pingBinder(), DEAD_OBJECT);
    EXPECT_FALSE(service->isBinderAlive());
    EXPECT_EQ(successor->pingBinder(), NO_ERROR);
    EXPECT_TRUE(successor->isBinderAlive());

    EXPECT_EQ(call(successor, DIE), DEAD_OBJECT);
    EXPECT_FALSE(successor->isBinderAlive());
}

// Catches callers left hanging when the server is killed while they wait for it.
TEST_F(ServiceManagerTest, ReleasesCallersOfAKilledServer) {
    ServerProcess server("killed", 1);
    const sp<IBinder> service = get("killed");
    ASSERT_NE(service, nullptr);
    server.order(CLOSE_GATE);
    const auto blocked = [&] { return call(service, PASS_GATE); };
    auto handled = std::async(std::launch::async, blocked);
    ASSERT_TRUE(becomesTrue([&] { return server.order(AT_GATE) == 1; }));
    auto queued = std::async(std::launch::async, blocked);
    server.kill();
    for (auto* result : {&handled, &queued}) {
        ASSERT_EQ(result->wait_for(seconds(20)), std::future_status::ready);
        EXPECT_EQ(result->get(), DEAD_OBJECT);
    }
}

}  // namespace
