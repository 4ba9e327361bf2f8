#include "platform/CallLine.h"

#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/CommonPlxServiceManager.h"
#include "platform/Mutex.h"
#include "tests/fake/Eventually.h"

namespace android::kavel {
namespace {

using Outcome = CallLine::Outcome;

constexpr std::chrono::seconds kLong(60);

long threadCount() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

// Would catch calls that overtake each other or run at once although they must not, one that is
// lost or kept beyond the limit, a caller that waits behind an overdue call, and a line without a
// thread once it has been idle.
TEST(CallLine, KeepsTheOrderBehindACallThatHangs) {
    std::thread([] {
    }).join();  // a sanitizer starts a thread of its own along with the first of ours
    const long threads = threadCount();
    static auto& line = *new CallLine(1, 4);
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    std::vector<int> done;
    std::vector<Outcome> outcomes;
    for (int i = 1; i <= 5; ++i) {
        outcomes.push_back(line.call(
                [&done, released, i] {
                    released.wait();
                    done.push_back(i);
                },
                std::chrono::milliseconds(20)));
    }
    EXPECT_EQ(outcomes,
              (std::vector<Outcome>{Outcome::Late, Outcome::NotAwaited, Outcome::NotAwaited,
                                    Outcome::NotAwaited, Outcome::Full}));
    release.set_value();
    // All have ended when this one is waited for: it comes after them.
    EXPECT_TRUE(test::eventually([] { return line.call([] {}, kLong) == Outcome::Returned; }));
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3, 4}));

    EXPECT_TRUE(test::eventually([&] { return threadCount() <= threads; }));
    EXPECT_EQ(line.call([&done] { done.push_back(6); }, kLong), Outcome::Returned);
    EXPECT_EQ(done.back(), 6);
}

/** Writes down what it is handed, and then waits to be released. */
class Client : public CommonPlxServiceManager {
  public:
    std::promise<void> release;
    std::vector<std::string> uploads() {
        MutexLock lock(mLock);
        return mUploads;
    }

  private:
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        {
            MutexLock lock(mLock);
            mUploads.push_back(tag + eventId + data.at(0).second);
        }
        mReleased.wait();
    }

    const std::shared_future<void> mReleased = release.get_future().share();
    Mutex mLock;
    std::vector<std::string> mUploads GUARDED_BY(mLock);
};

// Would catch statistics that overtake each other, and a caller that does not wait for its own.
TEST(CallLine, StatisticsGoOneAfterTheOther) {
    Client client;
    std::vector<std::future<void>> callers;
    for (const size_t i : {1U, 2U}) {
        callers.push_back(std::async(std::launch::async, [&client, i] {
            client.sendToPlxFromCommonPlx("t", "e", {{"k", std::to_string(i)}});
        }));
        const auto isIn = [&] { return client.uploads().size() == 1; };
        EXPECT_TRUE(test::eventually(isIn));
    }
    EXPECT_EQ(callers[1].wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(client.uploads(), std::vector<std::string>{"te1"});
    client.release.set_value();
    for (std::future<void>& caller : callers) caller.get();
    EXPECT_EQ(client.uploads(), (std::vector<std::string>{"te1", "te2"}));
}

}  // namespace
}  // namespace android::kavel
