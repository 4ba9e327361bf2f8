#include <cinttypes>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/LogPath.h"
#include "handler/HandlingSteps.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "tests/fake/FakeCallLine.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeProperties.h"
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
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        std::string text = "upload " + tag + "/" + eventId;
        for (const auto& [key, value] : data) text.append(" " + key + "=" + value);
        KAVEL_LOGI(KAVEL_NO_TAG, "%s", text.c_str());
    }
};

}  // namespace

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static Client client;
    return hasClient ? &client : nullptr;
}

namespace kavel {
namespace {

using test::ScriptLine;
using test::ScriptVerbs;
using Words = std::vector<std::string>;

/** The framework's side: keeps what it was asked, a line each. */
class Framework : public BBinder {
  public:
    bool fails = false;
    std::string asked;

  private:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        const bool isOurs = data.enforceInterface(String16("android.os.IKavelManager"));
        const int32_t pid = data.readInt32();
        const auto eventId = static_cast<unsigned long>(data.readInt64());
        asked += base::StringPrintf("framework %d: %u %u %d %lx\n", isOurs, code, flags, pid,
                                    eventId);
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
    std::string follow(const ScriptLine& line) {
        fake::clearLog();
        mSays.clear();
        const auto verb = mVerbs.find(line.verb());
        if (verb == mVerbs.end()) return "no such verb";
        verb->second(line);
        return outcome(line.verb()) + mSays;
    }

  private:
    using Line = const ScriptLine&;

    void boot() {
        fake::resetShell(fake::carryOut);
        mHeld.clear();
        mRecords.clear();
        mHandler = std::make_unique<Handler>(mParameters);
    }
    /** Records are known by their numbers, the first one's is 1. */
    const std::shared_ptr<KavelEvent>& record(Line line) {
        return mRecords.at(static_cast<size_t>(line.number(1)) - 1);
    }
    void addRecord(Line line) {
        mRecords.push_back(fake::event(line.number(2), line.number(1), line.option("process"),
                                       atoi(line.option("loginfo").c_str())));
        mRecords.back()->kavelEventId = -static_cast<int32_t>(mRecords.size());
    }
    void makeFolder(Line line) {
        // The directory around it is there already.
        const int status = atoi(line.option("status").c_str());
        fake::resetShell([status](const std::string& command) {
            return command.find("/kavel_") == std::string::npos ? 256 : status;
        });
        const auto event = fake::event(line.number(1), 0, line.option("process"));
        const KavelEvent* const given = line.word(1) == "0" ? nullptr : event.get();
        mSays = buildLogPathFolderName(mParameters, given) + "\n";
        for (const std::string& command : fake::commands()) mSays += "$ " + command;
        fake::resetShell(fake::carryOut);
    }
    void handle(Line line) {
        const KavelExtraInfo extra = {line.option("process"), line.option("version"),
                                      line.option("type")};
        const KavelTimestamp time = fake::event(0, int64_t{100} * ++mEvents)->timestamp;
        mHandler->steps.kavelEventHandleThread(std::make_shared<KavelEvent>(
                line.number(1), &time, 3, atoi(line.option("pid").c_str()),
                atoi(line.option("uid").c_str()), &extra));
        EXPECT_EQ(fake::logCount("dravo_statistic_common kavel event upload.\n"), 1u);
        mSays = std::exchange(mFramework->asked, "");
        // Neither thread of the monitor may log during the exit.
        if (fake::logCount("insert monitor list") > 0) {
            EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: new THREAD_NAME"));
            EXPECT_TRUE(fake::awaitLog("read A proc failed."));
        }
        if (fake::logCount("received cancel") > 0) {
            EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: cancel "));
        }
        mHandler->dump.combinedDumpRunning = false;  // its window is over before the next one
    }

    /** What happened, a line each, and what is so then. */
    std::string outcome(const std::string& verb) {
        // Logged for every event, and by the binder library.
        static const std::regex leftOut(
                "^[IW] binder: |showAllKavelEvents|checkSystemVerion|getOtaVersion|getTimeWindow|"
                "buildLogPathFolderName|"
                "kavel event upload|placeKavelEvent\\]: in ");
        std::string text;
        for (const std::string& line : fake::takeLog()) {
            if (verb == "boot" || verb == "make-folder" || !std::regex_search(line, leftOut))
                text += line + "\n";
        }
        for (const std::string& thread : fake::takeDumpThreads()) text += named(thread) + "\n";
        for (const std::string& deed : fake::takeDeeds()) text += deed + "\n";
        if (mHandler == nullptr) return text;
        const bool isCatcher = verb == "abnormal" || verb == "technical";
        for (const auto& [number, held] : mHeld) {
            if (!isCatcher) break;
            const CommercialNotes& notes = held->commercial;
            text += base::StringPrintf("catch %" PRId64 ": [%s] related %d, log-info 0x%x\n",
                                       number, base::Join(notes.relatedEvents(), ", ").c_str(),
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

    const ScriptVerbs mVerbs = {
            // The world.
            {"boot", [this](Line) { boot(); }},
            {"fresh", [this](Line) { boot(); }},
            {"set", [](Line l) { fake::setProperty(l.word(1), l.word(2)); }},
            {"name", [this](Line l) { mParameters.setEventIdMap(0, l.number(1), l.word(2)); }},
            {"recover", [this](Line l) { mParameters.setRecoverId(l.number(1), l.number(2)); }},
            {"window", [this](Line l) { mParameters.setTimeWindow(l.number(1), l.number(2)); }},
            {"processes",
             [](Line l) {
                 fake::setProcesses(
                         {{50, fake::process(1000, "system")},
                          {static_cast<int>(l.number(1)), fake::process(1000, l.word(2))}});
             }},
            {"process",
             [](Line l) {
                 const bool isReadable = l.word(2) != "unreadable";
                 fake::setProcess(static_cast<int>(l.number(1)),
                                  {"", isReadable ? std::optional(l.rest(2)) : std::nullopt});
             }},
            {"proc", [](Line l) { fake::closeProc(l.word(1) == "closed"); }},
            {"pid-of",
             [this](Line l) {
                 mSays = std::to_string(RecoveryActions::getPidForCommand(l.rest(1))) + "\n";
             }},
            {"client", [](Line l) { hasClient = l.word(1) == "there"; }},
            {"calls",
             [](Line l) {
                 using Outcome = CallLine::Outcome;
                 const bool areDropped = l.word(1) == "dropped";
                 fake::setCallOutcome(areDropped ? Outcome::Full : Outcome::Returned);
             }},
            {"panic", [](Line l) { fake::refusePanic(l.word(1) == "refused"); }},
            {"framework",
             [this](Line l) {
                 mFramework->fails = l.word(1) == "fails";
                 defaultServiceManager()->addService(String16("kavel"), mFramework);
             }},
            // Events and records.
            {">", [this](Line l) { handle(l); }},
            {"record", [this](Line l) { addRecord(l); }},
            {"place",
             [this](Line l) {
                 addRecord(l);
                 if (!mHandler->events.place(mRecords.back())) mSays = "refused\n";
             }},
            {"hold",
             [this](Line l) { mHeld[l.number(1)] = mHandler->dump.catches.add(record(l)); }},
            {"note",
             [this](Line l) { mHeld.at(l.number(1))->commercial.addRelatedEvent("itself"); }},
            {"bits",
             [this](Line l) {
                 mHeld.at(l.number(1))->commercial.setLogInfo(static_cast<int32_t>(l.number(2)));
             }},
            {"make-folder", [this](Line l) { makeFolder(l); }},
            {"window-over", [this](Line) { mHandler->dump.combinedDumpRunning = false; }},
            {"trail", [this](Line l) { mHandler->trail.trailKavelLogCatcher(record(l)); }},
            {"abnormal",
             [this](Line l) {
                 mHandler->commercial.commerialAbnormalActionKavelEventLogCatcher(record(l));
             }},
            {"technical",
             [this](Line l) {
                 mHandler->commercial.commerialTechnicalKavelEventLogCatcher(record(l));
             }},
    };
    const test::TempDir mFolder;
    EventParameters mParameters;
    std::unique_ptr<Handler> mHandler;
    const sp<Framework> mFramework = new Framework;
    int mEvents = 0;
    std::vector<std::shared_ptr<KavelEvent>> mRecords;
    std::map<int64_t, CatchRef> mHeld;
    std::string mSays;
};

// Would catch an event that is taken down another road or down two, by the wrong property or state;
// a statistic that is lost, sent twice or with other fields; a recovery that does anything else; an
// event in another event's folder or in one of another name, or with another selection of those
// around it.
TEST_P(Roads, AreAsInTheGoldenFile) {
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       [this](const ScriptLine& line) { return follow(line); });
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
