#include <map>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>
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

class Roads : public testing::TestWithParam<std::string> {
  protected:
    Roads() {
        setenv("TZ", "UTC0", 1);
        setenv("KAVEL_HOST_BINDER_DIR", (mFolder / "").c_str(), 1);
        fake::captureLog();
    }

    /** Does what a line of the script says; what came of it. */
    std::string follow(const std::string& text) {
        const Line line(text);
        const std::string& verb = line.words[0];
        fake::clearLog();
        mSays.clear();
        if (!world(line) && !records(line)) {
            if (verb == ">") {
                handle(line);
            } else if (verb == "abnormal") {
                mHandler->commercial.commerialAbnormalActionKavelEventLogCatcher(record(line));
            } else if (verb == "technical") {
                mHandler->commercial.commerialTechnicalKavelEventLogCatcher(record(line));
            } else if (verb == "trail") {
                mHandler->trail.trailKavelLogCatcher(record(line));
            } else {
                ADD_FAILURE() << text;
            }
        }
        return outcome(verb) + mSays;
    }

  private:
    /** A line's words, and those of the form NAME=VALUE. */
    struct Line {
        explicit Line(const std::string& text) : words(base::Split(text, " ")) {
            for (const std::string& word : words) {
                const size_t equals = word.find('=');
                if (equals != std::string::npos) {
                    values[word.substr(0, equals)] = word.substr(equals + 1);
                }
            }
        }
        long number(size_t i) const { return std::stol(words.at(i), nullptr, 0); }
        std::string value(const std::string& name) const {
            const auto found = values.find(name);
            return found == values.end() ? "" : found->second;
        }

        Words words;
        std::map<std::string, std::string> values;
    };

    bool world(const Line& line) {
        const std::string& verb = line.words[0];
        const std::string& last = line.words.back();
        if (verb == "boot" || verb == "fresh") {
            mHeld.clear();
            mRecords.clear();
            mHandler = std::make_unique<Handler>(mParameters);
        } else if (verb == "set") {
            base::SetProperty(line.words[1], line.words.size() > 2 ? last : "");
        } else if (verb == "name") {
            mParameters.setEventIdMap(0, line.number(1), last);
        } else if (verb == "recover") {
            mParameters.setRecoverId(line.number(1), line.number(2));
        } else if (verb == "window") {
            mParameters.setTimeWindow(line.number(1), line.number(2));
        } else if (verb == "processes") {
            fake::setProcesses({{50, fake::process(1000, "system")},
                                {static_cast<int>(line.number(1)), fake::process(1000, last)}});
        } else if (verb == "client") {
            hasClient = last == "there";
        } else if (verb == "panic") {
            fake::refusePanic(last == "refused");
        } else if (verb == "framework") {
            mFramework->fails = last == "fails";
            defaultServiceManager()->addService(String16("kavel"), mFramework);
        } else {
            return false;
        }
        return true;
    }

    /** Records are known by their numbers, the first one's is 1. */
    bool records(const Line& line) {
        const std::string& verb = line.words[0];
        if (verb == "record" || verb == "place") {
            mRecords.push_back(fake::event(line.number(2), line.number(1), line.value("process"),
                                           atoi(line.value("loginfo").c_str())));
            mRecords.back()->kavelEventId = -static_cast<int32_t>(mRecords.size());
            if (verb == "place" && !mHandler->events.place(mRecords.back())) mSays = "refused\n";
        } else if (verb == "hold") {
            mHeld[line.number(1)] = mHandler->dump.catches.add(record(line));
        } else if (verb == "note") {
            mHeld.at(line.number(1))->commercial.addRelatedEvent("itself");
        } else if (verb == "bits") {
            mHeld.at(line.number(1))->commercial.setLogInfo(static_cast<int32_t>(line.number(2)));
        } else if (verb == "window-over") {
            mHandler->dump.combinedDumpRunning = false;
        } else {
            return false;
        }
        return true;
    }
    const std::shared_ptr<KavelEvent>& record(const Line& line) {
        return mRecords.at(static_cast<size_t>(line.number(1)) - 1);
    }

    void handle(const Line& line) {
        const KavelExtraInfo extra = {line.value("process"), line.value("version"),
                                      line.value("type")};
        const KavelTimestamp time = fake::event(0, 100 * ++mEvents)->timestamp;
        mHandler->steps.kavelEventHandleThread(std::make_shared<KavelEvent>(
                line.number(1), &time, 3, atoi(line.value("pid").c_str()),
                atoi(line.value("uid").c_str()), &extra));
        EXPECT_EQ(fake::logCount("dravo_statistic_common kavel event upload.\n"), 1u);
        // No thread of the monitor may log during the exit.
        if (fake::logCount("insert monitor list") > 0) fake::awaitLog("read A proc failed.");
        if (fake::logCount("received cancel") > 0) fake::awaitLog("threadLoop]: cancel ");
        mHandler->dump.combinedDumpRunning = false;  // its window is over before the next one
    }

    /** What happened, a line each, and what is so then. */
    std::string outcome(const std::string& verb) {
        // Said anew for each event, whatever its road.
        static const std::regex leftOut(
                "showAllKavelEvents|checkSystemVerion|getOtaVersion|getTimeWindow|"
                "buildLogPathFolderName|"
                "kavel event upload|placeKavelEvent\\]: in ");
        std::string text;
        for (const std::string& line : fake::takeLog()) {
            if (verb == "boot" || !std::regex_search(line, leftOut)) text += line + "\n";
        }
        for (const std::string& thread : fake::takeDumpThreads()) text += named(thread) + "\n";
        for (const std::string& deed : fake::takeDeeds()) text += deed + "\n";
        if (mHandler == nullptr) return text;
        const bool isCatcher = verb == "abnormal" || verb == "technical";
        for (const auto& [number, held] : mHeld) {
            if (!isCatcher) break;
            const CommercialNotes& notes = held->commercial;
            text += base::StringPrintf("catch %ld: [%s] related %d, log-info 0x%x\n", number,
                                       base::Join(notes.relatedEvents(), ", ").c_str(),
                                       notes.hasRelatedEvents(),
                                       static_cast<uint32_t>(notes.logInfo()));
        }
        if (mHandler->dump.combinedDumpRunning) text += "window open\n";
        if (mHandler->dump.xlogRequested.exchange(false)) text += "xlog\n";
        if (mHandler->recovery.isAnrTesting()) text += "testing\n";
        return text;
    }

    /** "KIND LOGINFO ID FOLDER" of a thread, with its record's number for the id. */
    std::string named(const std::string& thread) const {
        const Words words = base::Split(thread, " ");
        std::string text = "thread " + words[0] + " " + words[1];
        for (size_t i = 0; i < mRecords.size(); ++i) {
            const bool isOurs = std::to_string(mRecords[i]->kavelEventId) == words[2];
            if (isOurs) text += " of " + std::to_string(i + 1);
        }
        return words[3].empty() ? text : text + " " + words[3];
    }

    const test::TempDir mFolder;
    EventParameters mParameters;
    std::unique_ptr<Handler> mHandler;
    const sp<Framework> mFramework = new Framework;
    int mEvents = 0;
    std::vector<std::shared_ptr<KavelEvent>> mRecords;
    std::map<long, CatchRef> mHeld;
    std::string mSays;
};

// Would catch an event that is taken down another road or down two, by the wrong property or state;
// a statistic that is lost, sent twice or with other fields; a recovery that does anything else; an
// event in another event's folder, or with another selection of those around it.
TEST_P(Roads, AreAsInTheGoldenFile) {
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       [this](const std::string& line) { return follow(line); });
}

INSTANTIATE_TEST_SUITE_P(Golden, Roads, testing::Values("catchers", "roads"),
                         [](const auto& script) { return script.param; });

// Would catch a dump with each record's own time, or without the tag that readers filter by.
TEST(HandlingSteps, ListDumpShowsTheOldestTimeOnEveryLine) {
    setenv("TZ", "UTC0", 1);
    fake::captureLog();
    EventParameters parameters;
    Handler handler(parameters);
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
