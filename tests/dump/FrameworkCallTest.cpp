#include "platform/FrameworkCall.h"

#include <cstdlib>
#include <future>
#include <thread>
#include <vector>

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "platform/Mutex.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using Outcome = FrameworkReply::Outcome;

constexpr uint32_t kHangs = 7;
constexpr uint32_t kRefuses = 9;

/** Answers with the code and the argument, or hangs until it is let go. */
class Framework : public BBinder {
  public:
    void letGo() {
        MutexLock lock(mLock);
        mHangs = false;
        mChanged.notify_all();
    }
    void awaitCalls(int count) {
        MutexLock lock(mLock);
        while (mCalls < count) lock.wait(mChanged);
    }
    int calls() {
        MutexLock lock(mLock);
        return mCalls;
    }

  private:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (!data.enforceInterface(String16("android.os.IKavelManager")) || flags != 0) {
            return PERMISSION_DENIED;
        }
        if (code == kRefuses) return INVALID_OPERATION;
        if (code == kHangs) {
            MutexLock lock(mLock);
            ++mCalls;
            mChanged.notify_all();
            while (mHangs) lock.wait(mChanged);
        }
        const int32_t argument = data.dataAvail() > 0 ? data.readInt32() : 0;
        return reply->writeInt32(static_cast<int32_t>(code) * 1000 + argument);
    }

    Mutex mLock;
    std::condition_variable mChanged;
    bool mHangs GUARDED_BY(mLock) = true;
    int mCalls GUARDED_BY(mLock) = 0;
};

// Would catch a wrong token, argument or flag, a caller that waits as long as the framework hangs,
// threads that pile up behind it, and a request that stays barred once the framework is back.
TEST(FrameworkCall, HangsCostOneThreadAndNoMoreThanTheCallersPatience) {
    const test::TempDir directory;
    setenv("KAVEL_HOST_BINDER_DIR", (directory / "").c_str(), 1);
    const sp<Framework> framework(new Framework);
    ASSERT_EQ(defaultServiceManager()->addService(String16("kavel"), framework), OK);

    const FrameworkReply anr = callFramework(2, {471});
    EXPECT_EQ(anr.outcome, Outcome::Answered);
    EXPECT_EQ(anr.status, OK);
    EXPECT_EQ(anr.value, 2471);
    const FrameworkReply refused = callFramework(kRefuses);
    EXPECT_EQ(refused.outcome, Outcome::Answered);
    EXPECT_EQ(refused.status, INVALID_OPERATION);
    EXPECT_EQ(refused.value, 0);

    constexpr auto kShort = std::chrono::milliseconds(1);
    EXPECT_EQ(callFramework(kHangs, {}, kShort).outcome, Outcome::Late);
    framework->awaitCalls(1);
    EXPECT_EQ(callFramework(kHangs, {}, kShort).outcome, Outcome::Busy);
    EXPECT_EQ(callFramework(2, {471}).value, 2471) << "another request";
    EXPECT_EQ(framework->calls(), 1);

    auto waiting = std::async(std::launch::async, [] { return callFramework(kHangs); });
    framework->letGo();
    EXPECT_EQ(waiting.get().value, 7000);
}

}  // namespace
}  // namespace android::kavel
