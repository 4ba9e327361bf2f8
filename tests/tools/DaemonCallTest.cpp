#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/String8.h>

#include <algorithm>
#include <exception>
#include <sstream>
#include <utility>

#include "event/ExtraInfo.h"
#include "event/IKavelBinder.h"
#include "tests/fake/Script.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/RunKavelctl.h"

namespace android::kavel::tools {
namespace {

/** The daemon's side of the interface: answers with a given status, or writes the call down. */
class RecordingService : public BnKavelBinder {
  public:
    status_t status = NO_ERROR;
    std::ostringstream calls;

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        EXPECT_NE(flags & FLAG_ONEWAY, 0U);
        if (status != NO_ERROR) return status;
        return BnKavelBinder::onTransact(code, data, reply, flags);
    }

    void sendFrameworkEvent(long eventId, long, long logInfo, int pid, int uid,
                            String16 extraInfo) override {
        const std::string text = String8(extraInfo).c_str();
        calls << "event " << eventId << ' ' << logInfo << ' ' << pid << ' ' << uid << " [" << text
              << "] read as";
        try {
            const KavelExtraInfo read = parseExtraInfo(text, eventId);
            calls << " [" << read.processName << "] [" << read.packageVersion << "] ["
                  << read.eventType << "]\n";
        } catch (const std::exception& error) {
            calls << " nothing: " << error.what() << '\n';
        }
    }

    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override {
        calls << "settings " << eventId << " [" << String8(eventName).c_str() << "] " << isEnable
              << ' ' << reportFreq << ' ' << logInfo << ' ' << timeWindow << ' ' << recoverId
              << '\n';
    }
};

class DaemonCall : public testing::Test {
  protected:
    DaemonCall() { setenv("KAVEL_HOST_BINDER_DIR", (folder / "").c_str(), 1); }

    void startDaemon() {
        service = new RecordingService;
        ASSERT_EQ(defaultServiceManager()->addService(String16(KAVEL_BINDER_SERVICE_NAME), service),
                  NO_ERROR);
    }

    const test::TempDir folder;
    sp<RecordingService> service;
};

// Catches options that reach the daemon in the wrong field or not at all, texts from which it would
// read other fields than the user gave, wrong command lines that do something, and an explanation
// that promises or denies a log or a wait wrongly: engineers choose masks by it.
TEST_F(DaemonCall, CommandsLeadToWhatTheGoldenFileSays) {
    startDaemon();
    test::expectScript(KAVEL_GOLDEN_DIR "/commands.txt", [&](const test::ScriptLine& line) {
        std::vector<std::string> words;
        for (size_t i = 0; i < line.size(); ++i) {
            words.push_back(line.word(i));
            std::replace(words.back().begin(), words.back().end(), '~', ' ');
        }
        const Result result = run(words);
        const std::string code = std::to_string(result.exitCode);
        const std::string calls = std::exchange(service->calls, std::ostringstream()).str();
        return (code == "0" ? "" : "exit " + code + "\n") + result.out + result.err + calls;
    });
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
