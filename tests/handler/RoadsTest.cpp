#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <android-base/properties.h>
#include <android-base/strings.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handler/HandlingSteps.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/Script.h"
#include "tests/fake/TempDir.h"
#include "tests/handler/FakeDumpThreads.h"
#include "tests/handler/TestEvent.h"

namespace android {
namespace {

bool hasClient = true;

/** Takes the place of the maker's client, and logs what it is sent. */
class Client : public CommonPlxServiceManager {
  public:
    int sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data) override {
        std::string text = "upload " + tag + "/" + eventId;
        for (const auto& [key, value] : data) text.append(" " + key + "=" + value);
        KAVEL_LOGI(KAVEL_NO_TAG, "%s", text.c_str());
        return -5;
    }
};

}  // namespace

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static Client client;
    return hasClient ? &client : nullptr;
}

namespace kavel {
namespace {

using Words = std::vector<std::string>;

/** The framework's side: logs what it is asked. */
class Framework : public BBinder {
  public:
    bool fails = false;

  private:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        const bool isOurs = data.enforceInterface(String16("android.os.IKavelManager"));
        const int32_t pid = data.readInt32();
        const auto eventId = static_cast<unsigned long>(data.readInt64());
        KAVEL_LOGI(KAVEL_NO_TAG, "framework %d: %u %u %d %lx", isOurs, code, flags, pid, eventId);
        return fails ? UNKNOWN_ERROR : reply->writeInt32(42);
    }
};

struct Handler {
    explicit Handler(EventParameters& parameters)
          : dump(parameters),
            recovery(parameters),
            steps(events, parameters, dump, variant, trail, commercial, recovery) {}

    DumpContext dump;
    EventList events;
    VariantPolicy variant;
    TrailCatcher trail{events, dump};
    CommercialCatchers commercial{events, dump, trail};
    RecoveryActions recovery;
    HandlingSteps steps;
};

class Roads : public testing::Test {
  protected:
    Roads() {
        setenv("TZ", "UTC0", 1);
        setenv("KAVEL_HOST_BINDER_DIR", (mFolder / "").c_str(), 1);
        fake::captureLog();
    }

    EventParameters mParameters;

    /** Does what a line of the script says; what came of it. */
    std::string follow(const std::string& line) {
        const Words words = base::Split(line, " ");
        const std::string last = words.back();
        fake::clearLog();
        if (words[0] == ">") {
            handle(words);
        } else if (words[0] == "boot") {
            mHandler = std::make_unique<Handler>(mParameters);
        } else if (words[0] == "set") {
            base::SetProperty(words[1], words.size() > 2 ? last : "");
        } else if (words[0] == "name") {
            mParameters.setEventIdMap(0, idOf(words[1]), last);
        } else if (words[0] == "recover") {
            mParameters.setRecoverId(idOf(words[1]), std::stol(last));
        } else if (words[0] == "processes") {
            fake::setProcesses({{50, fake::process(1000, "system")},
                                {std::stoi(words[1]), fake::process(1000, last)}});
        } else if (words[0] == "client") {
            hasClient = last == "there";
        } else if (words[0] == "panic") {
            fake::refusePanic(last == "refused");
        } else if (words[0] == "framework") {
            mFramework->fails = last == "fails";
            defaultServiceManager()->addService(String16("kavel"), mFramework);
        } else {
            ADD_FAILURE() << line;
        }
        return outcome(words[0] == ">");
    }

  private:
    static long idOf(const std::string& text) { return std::stol(text, nullptr, 16); }

    void handle(const Words& words) {
        std::map<std::string, std::string> values;
        for (size_t i = 2; i < words.size(); ++i) {
            const size_t equals = words[i].find('=');
            values[words[i].substr(0, equals)] = words[i].substr(equals + 1);
        }
        const KavelExtraInfo extra = {values["process"], values["version"], values["type"]};
        const KavelTimestamp time = fake::event(0, 100 * ++mEvents)->timestamp;
        mHandler->steps.kavelEventHandleThread(
                std::make_shared<KavelEvent>(idOf(words[1]), &time, 3, atoi(values["pid"].c_str()),
                                             atoi(values["uid"].c_str()), &extra));
        EXPECT_EQ(fake::logCount("dravo_statistic_common kavel event upload.\n"), 1u);
        // No thread of the monitor may log during the exit.
        if (fake::logCount("insert monitor list") > 0) fake::awaitLog("read A proc failed.");
        if (fake::logCount("received cancel") > 0) fake::awaitLog("threadLoop]: cancel ");
        mHandler->dump.combinedDumpRunning = false;  // its window is over before the next one
    }

    /** What happened, a line each, and the flags that are set then. */
    std::string outcome(bool isEvent) {
        // Said anew for each event, whatever its road.
        static const std::regex leftOut(
                "showAllKavelEvents|checkSystemVerion|getTimeWindow|buildLogPathFolderName|"
                "kavel event upload|placeKavelEvent\\]: in ");
        std::string text;
        for (const std::string& line : fake::takeLog()) {
            if (!isEvent || !std::regex_search(line, leftOut)) text += line + "\n";
        }
        for (const std::string& thread : fake::takeDumpThreads()) {
            const Words words = base::Split(thread, " ");
            text += "thread " + words[0] + " " + words[1] + "\n";
        }
        for (const std::string& deed : fake::takeDeeds()) text += deed + "\n";
        if (mHandler != nullptr && mHandler->dump.xlogRequested.exchange(false)) text += "xlog\n";
        if (mHandler != nullptr && mHandler->recovery.isAnrTesting()) text += "testing\n";
        return text;
    }

    const test::TempDir mFolder;
    std::unique_ptr<Handler> mHandler;
    const sp<Framework> mFramework = new Framework;
    int mEvents = 0;
};

// Would catch an event that is taken down another road or down two, by the wrong property or state;
// a statistic that is lost, sent twice or with other fields; a recovery that does anything else.
TEST_F(Roads, AreAsInTheGoldenFile) {
    test::expectScript(KAVEL_GOLDEN_DIR "/roads.txt",
                       [this](const std::string& line) { return follow(line); });
}

// Would catch a dump with each record's own time, or without the tag that readers filter by.
TEST_F(Roads, ListDumpShowsTheOldestTimeOnEveryLine) {
    Handler handler(mParameters);
    for (int i = 0; i < 40; ++i) {
        fake::clearLog();
        handler.steps.kavelEventHandleThread(fake::event(0x402, i, "", 1000 + i));
    }
    std::vector<std::string> expected;
    for (int i = 9; i < 40; ++i) {
        expected.push_back(
                "I KavelBinder: [dravo_kavel showAllKavelEvents]:eventID: 1026 logInfo: " +
                std::to_string(1000 + i) + " timestamp: 2024-03-07 09:05:11 007.");
    }
    EXPECT_EQ(fake::logCount("showAllKavelEvents"), expected.size());
    EXPECT_THAT(fake::takeLog(), testing::IsSupersetOf(expected));
}

}  // namespace
}  // namespace kavel
}  // namespace android
