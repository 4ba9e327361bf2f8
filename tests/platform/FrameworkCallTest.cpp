// Would catch a wrong token, argument or flag; a caller that goes on before its reply is logged or
// waits for a framework that hangs; a request or a reply that is lost although fewer than eight are
// outstanding; too many threads; a request that is lost without a line if there is no thread; a
// code that stays blocked after the framework is back.

#include "platform/FrameworkCall.h"

#include <atomic>
#include <cstdlib>
#include <string>

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeThreads.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

constexpr uint32_t kHangs = 7;
constexpr uint32_t kRefuses = 9;

/** Answers with the code and the argument, or hangs until it is let go. */
class Framework : public BBinder {
  public:
    std::atomic<bool> hangs = true;
    std::atomic<int> calls = 0;

  private:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (!data.enforceInterface(String16("android.os.IKavelManager")) || flags != 0) {
            return PERMISSION_DENIED;
        }
        if (code == kRefuses) return INVALID_OPERATION;
        if (code == kHangs) {
            ++calls;
            test::eventually([&] { return !hangs; });
        }
        const int32_t argument = data.dataAvail() > 0 ? data.readInt32() : 0;
        return reply->writeInt32(static_cast<int32_t>(code) * 1000 + argument);
    }
};

TEST(FrameworkCall, SendsWhateverHangsAndLogsTheReplyWheneverItComes) {
    const test::TempDir directory;
    setenv("KAVEL_HOST_BINDER_DIR", (directory / "").c_str(), 1);
    fake::captureLog();
    const sp<Framework> framework(new Framework);
    ASSERT_EQ(defaultServiceManager()->addService(String16("kavel"), framework), OK);

    fake::refuseThreads(true);
    callFramework("alone", ANDROID_LOG_INFO, 2, {470});
    fake::refuseThreads(false);
    EXPECT_EQ(fake::logCount("[dravo_kavel alone]: request 2 470 to binder service kavel: dropped, "
                             "there is no thread for it.\n"),
              1u);
    fake::clearLog();
    constexpr auto kLong = std::chrono::minutes(10);
    callFramework("anr", ANDROID_LOG_INFO, 2, {471, int64_t{1} << 40}, kLong);
    EXPECT_EQ(fake::logCount("[dravo_kavel anr]: binder service kavel replied: 2471.\n"), 1u);
    callFramework("refused", ANDROID_LOG_WARN, kRefuses, {}, kLong);
    ASSERT_EQ(fake::logLines().size(), 3u);
    EXPECT_EQ(fake::logLines()[1].text,
              "[dravo_kavel refused]: binder service kavel failed with error.\n");
    EXPECT_EQ(fake::logLines()[1].priority, ANDROID_LOG_WARN);
    EXPECT_EQ(fake::logCount("[dravo_kavel refused]: binder service kavel replied: 0.\n"), 1u);

    constexpr auto kShort = std::chrono::milliseconds(20);
    constexpr int kMaxOutstanding = 8;
    for (int pid = 1; pid <= kMaxOutstanding + 1; ++pid) {
        callFramework("hangs", ANDROID_LOG_INFO, kHangs, {pid}, kShort);
    }
    EXPECT_TRUE(test::eventually([&] { return framework->calls == kMaxOutstanding; }));
    const std::string request = "[dravo_kavel hangs]: request 7 ";
    EXPECT_EQ(fake::logCount(request + "1 to binder service kavel: has not returned in time.\n"),
              1u);
    EXPECT_EQ(fake::logCount("not waited for, an earlier call is overdue.\n"), 7u);
    EXPECT_EQ(fake::logCount(request + "9 to binder service kavel: dropped, too many calls"), 1u);
    callFramework("anr", ANDROID_LOG_INFO, 2, {472}, kLong);
    EXPECT_EQ(fake::logCount("[dravo_kavel anr]: binder service kavel replied: 2472.\n"), 1u)
            << "another code";

    framework->hangs = false;
    for (int pid = 1; pid <= kMaxOutstanding; ++pid) {
        EXPECT_TRUE(fake::awaitLog("[dravo_kavel hangs]: binder service kavel replied: " +
                                   std::to_string(7000 + pid)));
    }
    EXPECT_EQ(framework->calls, kMaxOutstanding);
    EXPECT_TRUE(test::eventually([] {  // the threads of those may not have ended yet
        callFramework("back", ANDROID_LOG_INFO, kHangs, {10});
        return fake::logLines().back().text ==
               "[dravo_kavel back]: binder service kavel replied: 7010.\n";
    }));
}

}  // namespace
}  // namespace android::kavel
