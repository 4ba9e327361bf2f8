#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <utils/String8.h>

#include "event/EventIntake.h"
#include "event/KavelBinderService.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android {
namespace kavel {
namespace {

struct Report {
    long eventId;
    int64_t realtimeNs;
    int logInfo, pid, uid;
    std::string extraInfo;
};

std::vector<Report> reports;

}  // namespace

// The handler's side of the intake seam.

EventParameters& eventParameters() {
    static auto* parameters = new EventParameters;
    return *parameters;
}

bool intakeKavelEvent(long eventId, const KavelTimestamp& timestamp, int logInfo, int pid, int uid,
                      const std::string& extraInfo) {
    reports.push_back({eventId, timestamp.realtimeNs, logInfo, pid, uid, extraInfo});
    return true;
}

namespace {

constexpr int64_t kNowUs = 1'709'802'302'007'000;

// Would catch the reporter's clock in a record, a swapped argument, and a truncated text.
TEST(BinderService, ReportGoesToIntakeWithTheTimeOfArrival) {
    fake::captureLog();
    fake::clearLog();
    const sp<KavelBinderService> service = new KavelBinderService;
    for (const long reporterClock : {0L, 1L, -1L}) {
        fake::resetTime(kNowUs);
        service->sendFrameworkEvent(0xF03, reporterClock, -2, 11, 12, String16("caf\xc3\xa9"));
        const auto taken = std::exchange(reports, {});
        ASSERT_EQ(taken.size(), 1u);
        EXPECT_EQ(taken[0].eventId, 0xF03);
        EXPECT_EQ(taken[0].realtimeNs, kNowUs * 1000);
        EXPECT_EQ(taken[0].logInfo, -2);
        EXPECT_EQ(taken[0].pid, 11);
        EXPECT_EQ(taken[0].uid, 12);
        EXPECT_EQ(taken[0].extraInfo, "caf\xc3\xa9");
    }
}

// Would catch log-selection bits that are cut in silence.
TEST(BinderServiceDeathTest, LogInfoBeyond32BitsAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const sp<KavelBinderService> service = new KavelBinderService;
    EXPECT_DEATH(service->sendFrameworkEvent(3, 0, 1L << 32, 1, 2, String16("")),
                 "logInfo 4294967296 does not fit");
}

// Would catch settings that end in the wrong table, and a name kept beside a recover id.
TEST(BinderService, SettingsGoToTheirTables) {
    fake::captureLog();
    fake::clearLog();
    const sp<KavelBinderService> service = new KavelBinderService;
    EventParameters& parameters = eventParameters();

    service->updateEventParams(0x21, String16("recovered"), true, 9, 1L << 40, 5000, 4);
    EXPECT_EQ(fake::logCount("Bn updateEventParams eventId: 0x21, isEnable: 1, reportFreq: "
                             "9,timeWindow: 5000,recoverId: 4"),
              1u);
    EXPECT_EQ(fake::logCount("updateEventParams called! isEnable: 1, reportFreq: 9"), 1u);
    EXPECT_TRUE(parameters.isEnabled(0x21));
    EXPECT_EQ(parameters.getTimeWindow(0x21), 5);
    EXPECT_TRUE(parameters.hasRecoverId(0x21));
    EXPECT_EQ(parameters.eventName(0x21), "");

    service->updateEventParams(0x21, String16("named"), false, 0, 0, 0, 0);
    EXPECT_FALSE(parameters.isEnabled(0x21));
    EXPECT_EQ(parameters.getTimeWindow(0x21), 0);
    EXPECT_TRUE(parameters.hasRecoverId(0x21));
    EXPECT_EQ(parameters.eventName(0x21), "named");
}

}  // namespace
}  // namespace kavel

namespace {

/** Writes down the calls that reach it; a code that is not its own reaches the base. */
class Recorder : public BnKavelBinder {
  public:
    void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                            String16 extraInfo) override {
        calls << "send " << eventId << ' ' << timestamp << ' ' << logInfo << ' ' << pid << ' '
              << uid << " '" << String8(extraInfo).c_str() << "'";
    }
    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override {
        calls << "update " << eventId << " '" << String8(eventName).c_str() << "' " << isEnable
              << ' ' << reportFreq << ' ' << logInfo << ' ' << timeWindow << ' ' << recoverId;
    }
    std::string take() {
        std::string all = calls.str();
        calls.str("");
        return all;
    }

  private:
    std::ostringstream calls;
};

status_t transact(const sp<IBinder>& binder, uint32_t code, const Parcel& data) {
    data.setDataPosition(0);
    Parcel reply;
    return binder->transact(code, data, &reply, IBinder::FLAG_ONEWAY);
}

// Would catch fields read in another order or width than clients write them.
TEST(KavelBinder, StubReadsTheFields) {
    const sp<Recorder> recorder = new Recorder;
    Parcel send;
    send.writeInterfaceToken(String16("KavelBinder"));
    for (const int64_t number : {0x10000001L, -7L, 1L << 40}) send.writeInt64(number);
    for (const int32_t number : {-1, 2000}) send.writeInt32(number);
    send.writeString16(String16("processName:a"));
    EXPECT_EQ(transact(recorder, 1, send), NO_ERROR);
    EXPECT_EQ(recorder->take(), "send 268435457 -7 1099511627776 -1 2000 'processName:a'");

    Parcel update;
    update.writeInterfaceToken(String16("KavelBinder"));
    update.writeInt64(3);
    update.writeString16(String16("anr"));
    update.writeBool(true);
    for (const int64_t number : {60, 5, 30000, 2}) update.writeInt64(number);
    EXPECT_EQ(transact(recorder, 2, update), NO_ERROR);
    EXPECT_EQ(recorder->take(), "update 3 'anr' 1 60 5 30000 2");
}

// Would catch a short request that is refused, or read beyond its end.
TEST(KavelBinder, WhatAShortRequestLacksIsZero) {
    const sp<Recorder> recorder = new Recorder;
    Parcel data;
    data.writeInterfaceToken(String16("KavelBinder"));
    EXPECT_EQ(transact(recorder, 1, data), NO_ERROR);
    EXPECT_EQ(recorder->take(), "send 0 0 0 0 0 ''");
    data.writeInt64(3);
    data.writeString16(String16("anr"));
    EXPECT_EQ(transact(recorder, 2, data), NO_ERROR);
    EXPECT_EQ(recorder->take(), "update 3 'anr' 0 0 0 0 0");
}

// Would catch a request for another interface that is let in, and a lost code.
TEST(KavelBinder, OtherTokensAndCodesDoNotReachTheObject) {
    const sp<Recorder> recorder = new Recorder;
    for (const char* const token :
         {"android.os.IKavelManager", "kavelbinder", "KavelBinder2", ""}) {
        for (const uint32_t code : {1u, 2u, 3u}) {
            Parcel data;
            data.writeInterfaceToken(String16(token));
            EXPECT_EQ(transact(recorder, code, data), PERMISSION_DENIED) << token;
        }
    }
    Parcel bare;
    EXPECT_EQ(transact(recorder, 1, bare), PERMISSION_DENIED);
    Parcel data;
    data.writeInterfaceToken(String16("KavelBinder"));
    EXPECT_EQ(transact(recorder, 3, data), UNKNOWN_TRANSACTION);
    EXPECT_EQ(recorder->take(), "");
}

// Would catch a proxy for an object of this process, and a local pointer for another interface.
TEST(KavelBinder, AsInterface) {
    const sp<Recorder> recorder = new Recorder;
    EXPECT_EQ(IKavelBinder::asInterface(nullptr), nullptr);
    EXPECT_EQ(IKavelBinder::asInterface(recorder).get(), recorder.get());
    EXPECT_EQ(recorder->getInterfaceDescriptor(), String16("KavelBinder"));

    const sp<IBinder> stranger = new BBinder;
    const sp<IKavelBinder> proxy = IKavelBinder::asInterface(stranger);
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(IInterface::asBinder(proxy), stranger);
}

// Would catch a null default that replaces, and one that is set only once.
TEST(KavelBinder, DefaultImplementation) {
    EXPECT_EQ(IKavelBinder::getDefaultImpl(), nullptr);
    sp<Recorder> last;
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(IKavelBinder::setDefaultImpl(last = new Recorder));
    EXPECT_FALSE(IKavelBinder::setDefaultImpl(nullptr));
    EXPECT_EQ(IKavelBinder::getDefaultImpl().get(), last.get());
}

}  // namespace
}  // namespace android
