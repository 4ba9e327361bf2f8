// Would catch a dump that is refused, goes to other users, is in the other form, or takes all
// threads; fields that are read in another order or width than clients write them, a text that is
// cut, a short report that is refused or read beyond its end, settings in the wrong table, settings
// that replace good ones although a part of them is missing, a log line with another text, a
// request for another interface that is handled or logged, a lost code, and a proxy for an object
// of this process.

#include <algorithm>
#include <array>
#include <future>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <binder/IPCThreadState.h>
#include <gtest/gtest.h>

#include "core/KavelBinderService.h"
#include "event/ReportJournal.h"
#include "handler/KavelEventHandler.h"
#include "tests/core/FakeHandler.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"

namespace android {

// The desktop's binder has this only here.
void IPCThreadState::restoreCallingIdentity(int64_t identity) {
    mCallingUid = static_cast<uid_t>(identity >> 32);
}

namespace {

using Lines = std::vector<std::string>;

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
    /** Writes what clients write: "lNUMBER" with 64 bits, "iNUMBER" with 32, and "sTEXT". */
    static Parcel* request(Parcel* data, const std::string& values) {
        data->writeInterfaceToken(String16("KavelBinder"));
        std::istringstream words(values);
        for (std::string word; words >> word;) {
            const std::string value = word.substr(1);
            if (word[0] == 'l') data->writeInt64(std::stoll(value, nullptr, 0));
            if (word[0] == 'i') data->writeInt32(std::stoi(value));
            if (word[0] == 's') data->writeString16(String16(value.c_str()));
        }
        return data;
    }
    status_t call(uint32_t code, const std::string& values) {
        Parcel data;
        return transact(code, *request(&data, values));
    }

    const sp<KavelBinderService> mService = new KavelBinderService;
    kavel::EventParameters& mParameters = KavelEventHandler::getInstance().parameters();
};

TEST_F(KavelBinder, ReportGoesToTheHandler) {
    // Event, the reporter's clock, log-info, pid, uid, extra text.
    EXPECT_EQ(call(kSend, "l0x10000001 l-7 l-2 i11 i2000 scaf\xc3\xa9"), NO_ERROR);
    const std::string start = "I KavelBinder: Bn sendFramworkEvent ";
    EXPECT_EQ(kavel::fake::takeLog(),
              (Lines{"I KavelBinder: Bn onTransaction code:1", start + "eventId: 0x10000001",
                     start + "timestamp: -7", start + "logInfo: 0xfffffffffffffffe",
                     start + "pid: 11", start + "uid: 2000", start + "extraInfo: caf\xc3\xa9"}));
    const auto incomplete = [] {
        return kavel::ReportJournal::instance().status().incompleteReports;
    };
    EXPECT_EQ(incomplete(), 0U);
    EXPECT_EQ(call(kSend, ""), NO_ERROR);
    EXPECT_EQ(incomplete(), 1U);
    Lines reports;
    for (const auto& [event, logInfo, pid, uid, text] : kavel::fake::takeReports()) {
        reports.push_back(
                base::StringPrintf("%ld %ld %d %d %s", event, logInfo, pid, uid, text.c_str()));
    }
    EXPECT_EQ(reports, (Lines{"268435457 -2 11 2000 caf\xc3\xa9", "0 0 0 0 "}));
}

TEST_F(KavelBinder, SettingsGoToTheirTables) {
    EXPECT_EQ(call(kUpdate, "l0x21 srecovered i1 l9 l0x10000000000 l5000 l4"), NO_ERROR);
    EXPECT_EQ(kavel::fake::takeLog(),
              (Lines{"I KavelBinder: Bn onTransaction code:2",
                     "I KavelBinder: Bn updateEventParams eventId: 0x21, isEnable: 1, reportFreq: "
                     "9,timeWindow: 5000,recoverId: 4",
                     "I KavelBinder: updateEventParams called! isEnable: 1, reportFreq: 9"}));
    EXPECT_TRUE(mParameters.isEnabled(0x21));
    EXPECT_EQ(mParameters.getTimeWindow(0x21), 5);
    EXPECT_EQ(mParameters.recoverId(0x21), 4);
    EXPECT_EQ(mParameters.eventName(0x21), "");

    EXPECT_EQ(call(kUpdate, "l0x22 i-1 i1 l0 l0 l7000 l0"), NO_ERROR);  // a null name
    EXPECT_EQ(mParameters.getTimeWindow(0x22), 7);
    EXPECT_EQ(mParameters.findEventName(0x22), "");
}

TEST_F(KavelBinder, SettingsThatAreCutShortChangeNothing) {
    mParameters.updateEventParams(0x31, true, 1);
    Parcel whole;
    const size_t start = request(&whole, "")->dataSize();
    whole.setDataSize(0);
    const size_t nameEnd = request(&whole, "l0x31 sother")->dataSize();
    for (const int32_t word : {0, 1, 0, 2, 0, 3, 0, 4, 0}) whole.writeInt32(word);
    const auto expectRefused = [&](const Parcel& data) {
        kavel::fake::clearLog();
        EXPECT_EQ(transact(kUpdate, data), NOT_ENOUGH_DATA);
        EXPECT_EQ(kavel::fake::logCount("refused: the request is cut short"), 1U);
        EXPECT_TRUE(mParameters.isEnabled(0x31));
        EXPECT_FALSE(mParameters.isEnabled(0));
        EXPECT_EQ(mParameters.findEventName(0x31), std::nullopt);
    };
    for (size_t size = start; size < whole.dataSize(); size += 4) {
        Parcel data;
        data.appendFrom(&whole, 0, size);
        expectRefused(data);
    }
    for (const int32_t length : {0, 3, 40, 1 << 20, INT32_MAX}) {  // the name's is another
        whole.setDataPosition(nameEnd - 16);
        whole.writeInt32(length);
        expectRefused(whole);
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
    EXPECT_EQ(call(3, ""), UNKNOWN_TRANSACTION);
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

TEST_F(KavelBinder, CallersWhoDoNotReadLeaveThreadsForReports) {
    // A dump gives up after some seconds. If a busy machine stops the test for so long, once more.
    std::map<status_t, int> results;
    const std::map<status_t, int> expected = {{WOULD_BLOCK, 1}, {-EPIPE, 4}};
    for (int attempt = 0; attempt < 5 && results != expected; ++attempt) {
        std::array<base::unique_fd, 5> readEnds;
        std::array<base::unique_fd, 5> writeEnds;
        std::vector<std::future<status_t>> callers;
        for (size_t i = 0; i < readEnds.size(); ++i) {
            ASSERT_TRUE(base::Pipe(&readEnds[i], &writeEnds[i]));
            while (poll(std::array{pollfd{writeEnds[i].get(), POLLOUT, 0}}.data(), 1, 0) > 0) {
                ASSERT_EQ(write(writeEnds[i].get(), std::string(4096, 'x').data(), 4096), 4096);
            }
        }
        for (const base::unique_fd& end : writeEnds) {
            callers.push_back(
                    std::async(std::launch::async, [&] { return mService->dump(end.get(), {}); }));
        }
        const auto oneHasReturned = [&] {
            return std::any_of(callers.begin(), callers.end(), [](const auto& caller) {
                return caller.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
            });
        };
        EXPECT_TRUE(kavel::test::eventually(oneHasReturned));
        for (base::unique_fd& end : readEnds) end.reset();
        results.clear();
        for (auto& caller : callers) ++results[caller.get()];
    }
    EXPECT_EQ(results, expected);
    const base::unique_fd null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(mService->dump(null.get(), {}), BAD_TYPE) << "not a pipe, and not refused";
}

TEST_F(KavelBinder, DumpIsForRootAndTheShellAndKnowsJson) {
    struct {
        int64_t user;
        const char *arg, *start;
    } const rows[] = {
            {0, "-a", "format: 1\nt"},
            {2000, "--json", "{\"format\":1"},
            {2001, "-a", "Permission "},
            {10123, "--json", "Permission "},
    };
    const base::unique_fd file(open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    IPCThreadState* const thread = IPCThreadState::self();
    for (const auto& row : rows) {
        Parcel data;
        data.writeFileDescriptor(file.get(), false);
        data.writeInt32(1);
        data.writeString16(String16(row.arg));
        ASSERT_EQ(ftruncate(file.get(), lseek(file.get(), 0, SEEK_SET)), 0);
        thread->restoreCallingIdentity(row.user << 32);
        EXPECT_EQ(transact(IBinder::DUMP_TRANSACTION, data), NO_ERROR);
        thread->restoreCallingIdentity(int64_t{getuid()} << 32);
        char start[12] = {};
        EXPECT_EQ(pread(file.get(), start, sizeof(start) - 1, 0), 11);
        EXPECT_STREQ(start, row.start);
    }
}

}  // namespace
}  // namespace android
