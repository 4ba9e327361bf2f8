#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/String8.h>

#include <sstream>

#include "event/IKavelBinder.h"
#include "tests/tools/RunKavelctl.h"
#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

/** The daemon's side of the interface: answers with a given status, or writes the call down. */
class RecordingService : public BnKavelBinder {
  public:
    status_t status = NO_ERROR;
    std::string lastCall;

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        EXPECT_NE(flags & FLAG_ONEWAY, 0U);
        if (status != NO_ERROR) return status;
        return BnKavelBinder::onTransact(code, data, reply, flags);
    }

    void sendFrameworkEvent(long eventId, long, long logInfo, int pid, int uid,
                            String16 extraInfo) override {
        std::ostringstream call;
        call << "send " << eventId << ' ' << logInfo << ' ' << pid << ' ' << uid << ' '
             << String8(extraInfo).c_str();
        lastCall = call.str();
    }

    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override {
        std::ostringstream call;
        call << "set " << eventId << ' ' << String8(eventName).c_str() << ' ' << isEnable << ' '
             << reportFreq << ' ' << logInfo << ' ' << timeWindow << ' ' << recoverId;
        lastCall = call.str();
    }
};

class DaemonCall : public testing::Test {
  protected:
    DaemonCall() { setenv("KAVEL_HOST_BINDER_DIR", folder.path().c_str(), 1); }

    void startDaemon() {
        service = new RecordingService;
        ASSERT_EQ(defaultServiceManager()->addService(String16(KAVEL_BINDER_SERVICE_NAME), service),
                  NO_ERROR);
    }

    const TemporaryFolder folder;
    sp<RecordingService> service;
};

// Catches options that reach the daemon in the wrong field, or not at all.
TEST_F(DaemonCall, EveryOptionArrives) {
    startDaemon();
    const struct {
        std::vector<std::string> words;
        const char* call;
        bool noted;
    } cases[] = {
            {{"set", "0x3", "--name", "anr ä"}, "set 3 anr ä 1 0 0 180000 0", false},
            {{"set", "5", "--name=n", "--disable", "--freq", "7", "--window", "0x1388"},
             "set 5 n 0 7 0 5000 0",
             false},
            {{"set", "0x10000001", "--recover-id", "-2", "--enable"},
             "set 268435457  1 0 0 180000 -2",
             true},
            {{"send", "0x101", "--process", "😀;b", "--log-info", "android|power", "--pid", "12",
              "--uid", "34"},
             "send 257 65 12 34 😀;b",
             false},
            {{"send", "-9223372036854775808"}, "send -9223372036854775808 0 0 0 ", false},
            {{"send", "3", "--process", "p", "--version", "1", "--log-info", "-1"},
             "send 3 -1 0 0 processName:p,packageVersion:1",
             false},
            {{"send", "3", "--extra", "--whole"}, "send 3 0 0 0 --whole", false},
            {{"send", "0x402", "--extra", "x"}, "send 1026 0 0 0 x", true},
    };
    for (const auto& each : cases) {
        const Result result = run(each.words);
        EXPECT_EQ(result.exitCode, kExitOk) << result.err;
        EXPECT_EQ(service->lastCall, each.call);
        EXPECT_EQ(!result.err.empty(), each.noted) << result.err;
    }
}

// Catches a failed call that passes for a sent one.
TEST_F(DaemonCall, FailuresAreTold) {
    const auto expectFailure = [](const std::vector<std::string>& words, const char* text) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, kExitRefused);
        EXPECT_TRUE(contains(result.err, text)) << result.err;
    };
    expectFailure({"send", "1"}, "kavelctl: KavelBinderService is not running");

    startDaemon();
    const std::pair<status_t, const char*> cases[] = {
            {DEAD_OBJECT, "the daemon has died"},
            {FAILED_TRANSACTION, "queue is full"},
            {PERMISSION_DENIED, "status -1"},
    };
    for (const auto& [status, text] : cases) {
        service->status = status;
        expectFailure({"send", "1"}, text);
        expectFailure({"set", "1", "--name", "n"}, text);
    }
}

}  // namespace
}  // namespace android::kavel::tools
