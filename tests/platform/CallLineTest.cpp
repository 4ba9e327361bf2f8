// Would catch calls that overtake each other or run at once although they must not, a call that is
// lost or kept beyond the limit, a caller that waits behind an overdue call or does not wait for
// its own, and a line that has no thread after it was idle, or keeps one.

#include "platform/CallLine.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/CommonPlxServiceManager.h"
#include "tests/fake/Eventually.h"

namespace android::kavel {
namespace {

using Outcome = CallLine::Outcome;
using std::chrono::milliseconds;

long threadCount() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

TEST(CallLine, KeepsTheOrderBehindACallThatHangs) {
    std::thread([] {}).join();  // a sanitizer starts its own thread together with our first one
    const long threads = threadCount();
    static auto& line = *new CallLine(1, 4);
    std::atomic<bool> isReleased = false;
    std::vector<int> done;
    const auto call = [&](int i, milliseconds patience) {
        const auto body = [&, i] {
            test::eventually([&] { return isReleased.load(); });
            done.push_back(i);
        };
        return line.call(body, patience);
    };
    for (int i = 1; i <= 5; ++i) {
        const Outcome later = i < 5 ? Outcome::NotAwaited : Outcome::Full;
        EXPECT_EQ(call(i, milliseconds(20)), i == 1 ? Outcome::Late : later);
    }
    isReleased = true;
    const milliseconds enough = std::chrono::minutes(1);
    // All have ended when this one is waited for: it comes after them.
    EXPECT_TRUE(test::eventually([&] { return line.call([] {}, enough) == Outcome::Returned; }));
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_TRUE(test::eventually([&] { return threadCount() <= threads; }));
    EXPECT_EQ(call(6, enough), Outcome::Returned);
    EXPECT_EQ(done.back(), 6);
}

/** Keeps what it is given, and waits to be released. */
class Client : public CommonPlxServiceManager {
  public:
    std::atomic<bool> isReleased = false;
    std::atomic<size_t> count = 0;
    std::array<std::string, 2> uploads;

  private:
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        uploads.at(count) = tag + eventId + data.at(0).second;
        ++count;
        test::eventually([&] { return isReleased.load(); });
    }
};

TEST(CallLine, StatisticsGoOneAfterTheOther) {
    Client client;
    std::vector<std::future<void>> callers;
    for (const char* const value : {"1", "2"}) {
        callers.push_back(std::async(std::launch::async, [&client, value] {
            client.sendToPlxFromCommonPlx("t", "e", {{"k", value}});
        }));
        EXPECT_TRUE(test::eventually([&] { return client.count == 1; }));
    }
    EXPECT_EQ(callers[1].wait_for(milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(client.count, 1U);
    client.isReleased = true;
    for (std::future<void>& caller : callers) caller.get();
    EXPECT_EQ(client.uploads, (std::array<std::string, 2>{"te1", "te2"}));
}

}  // namespace
}  // namespace android::kavel
