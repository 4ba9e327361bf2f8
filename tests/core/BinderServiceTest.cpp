// Would catch fields that are read in another order or width than clients write them, a text that
// is cut, a short report that is refused or read beyond its end, settings in the wrong table,
// settings that replace good ones although a part of them is missing, a log line with another text,
// a request for another interface that is handled or logged, a lost code, and a proxy for an object
// of this process.

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/KavelBinderService.h"
#include "handler/KavelEventHandler.h"
#include "tests/core/FakeHandler.h"
#include "tests/fake/FakeLog.h"

namespace android {
namespace {

// Event, log-info, pid, uid, extra text.
using Report = std::tuple<long, long, int, int, std::string>;

constexpr uint32_t kSend = 1;
constexpr uint32_t kUpdate = 2;

class KavelBinder : public testing::Test {
  protected:
    KavelBinder() {
        kavel::fake::captureLog();
        kavel::fake::clearLog();
    }

    status_t transact(uint32_t code, const Parcel& data) {
        data.setDataPosition(0);
        Parcel reply;
        return mService->transact(code, data, &reply, IBinder::FLAG_ONEWAY);
    }
    static Parcel* request(Parcel* data, const std::vector<int64_t>& numbers) {
        data->writeInterfaceToken(String16("KavelBinder"));
        for (const int64_t number : numbers) data->writeInt64(number);
        return data;
    }

    const sp<KavelBinderService> mService = new KavelBinderService;
    kavel::EventParameters& mParameters = KavelEventHandler::getInstance().parameters();
};

TEST_F(KavelBinder, ReportGoesToTheHandler) {
    Parcel whole;
    request(&whole, {0x10000001, -7, -2});  // event, the reporter's clock, log-info
    for (const int32_t number : {11, 2000}) whole.writeInt32(number);
    whole.writeString16(String16("caf\xc3\xa9"));
    EXPECT_EQ(transact(kSend, whole), NO_ERROR);
    const std::string start = "I KavelBinder: Bn sendFramworkEvent ";
    EXPECT_EQ(kavel::fake::takeLog(),
              (std::vector<std::string>{"I KavelBinder: Bn onTransaction code:1",
                                        start + "eventId: 0x10000001", start + "timestamp: -7",
                                        start + "logInfo: 0xfffffffffffffffe", start + "pid: 11",
                                        start + "uid: 2000", start + "extraInfo: caf\xc3\xa9"}));
    Parcel bare;
    EXPECT_EQ(transact(kSend, *request(&bare, {})), NO_ERROR);
    const std::vector<Report> expected = {{0x10000001, -2, 11, 2000, "caf\xc3\xa9"},
                                          {0, 0, 0, 0, ""}};
    std::vector<Report> reports;
    for (const KavelReport& report : kavel::fake::takeReports()) {
        reports.emplace_back(report.eventId, report.logInfo, report.pid, report.uid,
                             report.extraInfo);
    }
    EXPECT_EQ(reports, expected);
}

TEST_F(KavelBinder, SettingsGoToTheirTables) {
    Parcel data;
    request(&data, {0x21})->writeString16(String16("recovered"));
    data.writeBool(true);
    for (const int64_t number : {int64_t{9}, int64_t{1} << 40, int64_t{5000}, int64_t{4}}) {
        data.writeInt64(number);
    }
    EXPECT_EQ(transact(kUpdate, data), NO_ERROR);
    EXPECT_EQ(kavel::fake::takeLog(),
              (std::vector<std::string>{
                      "I KavelBinder: Bn onTransaction code:2",
                      "I KavelBinder: Bn updateEventParams eventId: 0x21, isEnable: 1, reportFreq: "
                      "9,timeWindow: 5000,recoverId: 4",
                      "I KavelBinder: updateEventParams called! isEnable: 1, reportFreq: 9"}));
    EXPECT_TRUE(mParameters.isEnabled(0x21));
    EXPECT_EQ(mParameters.getTimeWindow(0x21), 5);
    EXPECT_EQ(mParameters.recoverId(0x21), 4);
    EXPECT_EQ(mParameters.eventName(0x21), "");

    Parcel unnamed;  // a null name is an empty one
    request(&unnamed, {0x22})->writeInt32(-1);
    for (const int32_t word : {1, 0, 0, 0, 0, 7000, 0, 0, 0}) unnamed.writeInt32(word);
    EXPECT_EQ(transact(kUpdate, unnamed), NO_ERROR);
    EXPECT_EQ(mParameters.getTimeWindow(0x22), 7);
    EXPECT_EQ(mParameters.findEventName(0x22), "");
}

TEST_F(KavelBinder, SettingsThatAreCutShortChangeNothing) {
    mParameters.updateEventParams(0x31, true, 1);
    Parcel whole;
    const size_t start = request(&whole, {})->dataSize();
    whole.writeInt64(0x31);
    whole.writeString16(String16("other"));
    const size_t nameEnd = whole.dataSize();
    whole.writeBool(false);
    for (const int64_t number : {1, 2, 3, 4}) whole.writeInt64(number);
    const auto expectRefused = [&](size_t size, const std::function<void(Parcel*)>& change) {
        Parcel data;
        data.appendFrom(&whole, 0, size);
        change(&data);
        kavel::fake::clearLog();
        EXPECT_EQ(transact(kUpdate, data), NOT_ENOUGH_DATA);
        EXPECT_EQ(kavel::fake::logCount("refused: the request is cut short"), 1U);
        EXPECT_TRUE(mParameters.isEnabled(0x31));
        EXPECT_FALSE(mParameters.isEnabled(0));
        EXPECT_EQ(mParameters.findEventName(0x31), std::nullopt);
    };
    for (size_t size = start; size < whole.dataSize(); size += 4) {
        expectRefused(size, [](Parcel*) {});
    }
    // The name has another length than it says.
    for (const int32_t length : {0, 3, 40, 1 << 20, INT32_MAX}) {
        expectRefused(whole.dataSize(), [&](Parcel* data) {
            data->setDataPosition(nameEnd - 16);
            data->writeInt32(length);
        });
    }
}

TEST_F(KavelBinder, OtherTokensAndCodesDoNotReachTheObject) {
    EXPECT_EQ(mService->getInterfaceDescriptor(), String16("KavelBinder"));
    for (const char* const token :
         {"android.os.IKavelManager", "kavelbinder", "KavelBinder2", ""}) {
        Parcel data;
        data.writeInterfaceToken(String16(token));
        for (const uint32_t code : {1u, 2u, 3u}) {
            EXPECT_EQ(transact(code, data), PERMISSION_DENIED) << token;
        }
    }
    EXPECT_EQ(transact(kSend, Parcel()), PERMISSION_DENIED);
    Parcel data;
    EXPECT_EQ(transact(3, *request(&data, {})), UNKNOWN_TRANSACTION);
    EXPECT_TRUE(kavel::fake::takeReports().empty());
    EXPECT_EQ(kavel::fake::logCount("Bn onTransaction"), 1U);
}

TEST_F(KavelBinder, OnlyARemoteObjectGetsAProxy) {
    EXPECT_EQ(IKavelBinder::asInterface(nullptr), nullptr);
    EXPECT_EQ(IKavelBinder::asInterface(mService).get(), mService.get());
    const sp<IBinder> stranger = new BBinder;
    const sp<IKavelBinder> proxy = IKavelBinder::asInterface(stranger);
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(IInterface::asBinder(proxy), stranger);
}

}  // namespace
}  // namespace android
