// Would catch an event that is handled in another way, or in two, by the wrong property or state; a
// report's value in another field; a statistic that is lost, sent twice or with other fields; a
// recovery that does anything else; an event in another event's folder or in one of another name,
// or with another selection of those around it; a log line that is lost, or that is written with
// another priority or tag.

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "dump/LogPath.h"
#include "handler/KavelEventHandler.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "recovery/RecoveryActions.h"
#include "tests/fake/FakeCallLine.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/Script.h"
#include "tests/fake/Series.h"
#include "tests/fake/TempDir.h"
#include "tests/handler/FakeDumpThreads.h"
#include "tests/handler/TestEvent.h"

namespace android {
namespace {

bool hasClient = true;
std::function<void()> duringUpload;  // called once

/** Takes the place of the maker's client, and logs what it is sent. */
class Client : public CommonPlxServiceManager {
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        std::string text = "upload " + tag + "/" + eventId;
        for (const auto& [key, value] : data) text.append(" " + key + "=" + value);
        KAVEL_LOGI(KAVEL_NO_TAG, "%s", text.c_str());
        if (const auto other = std::exchange(duringUpload, nullptr)) other();
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

class HandlerScript : public testing::TestWithParam<std::string> {
  protected:
    HandlerScript() {
        setenv("TZ", "UTC0", 1);
        setenv("KAVEL_HOST_BINDER_DIR", (mFolder / "").c_str(), 1);
        fake::captureLog();
    }
    ~HandlerScript() override { fake::releaseCatches(); }

    /** Does what a step of the script says; returns what came of it. */
    std::string follow(const ScriptLine& step) {
        fake::clearLog();
        mSays.clear();
        const auto verb = mVerbs.find(step.verb());
        if (verb == mVerbs.end()) return "no such verb\n";
        verb->second(step);
        const std::string text = mSays + outcome(step.verb());
        return text.empty() ? "" : test::folded(text, mSeries);
    }

  private:
    using Line = const ScriptLine&;

    void boot() {
        fake::resetShell(carryOut);
        fake::releaseCatches();
        std::filesystem::remove_all("/data/persist_log/kavel30");
        mHandler = std::make_unique<KavelEventHandler>();
        for (const auto& setting : mSettings) setting(mHandler->parameters());
        mReports = 0;
    }
    void configure(std::function<void(EventParameters&)> setting) {
        if (mHandler != nullptr) setting(mHandler->parameters());
        mSettings.push_back(std::move(setting));
    }
    void makeFolder(Line line) {
        // The directory around it exists already.
        const int status = atoi(line.option("status").c_str());
        fake::resetShell([status](const std::string& command) {
            carryOut(command);
            return command.find("/kavel_") == std::string::npos ? 256 : status;
        });
        const auto event = fake::event(line.number(1), 0, line.option("process"));
        const KavelEvent* const given = line.word(1) == "0" ? nullptr : event.get();
        const std::string path = buildLogPathFolderName(mHandler->parameters(), given);
        fake::note("returns " + path);
        fake::resetShell(carryOut);
    }
    void report(Line line) {
        const auto number = [&](const char* name, int64_t otherwise) {
            const std::string value = line.option(name);
            return value.empty() || value == "now" ? otherwise : std::stoll(value, nullptr, 0);
        };
        const int64_t seconds = number("at", int64_t{100} * mReports++);
        if (line.option("at") != "now") fake::resetTime(fake::kStart / 1000 + seconds * 1'000'000);
        const int64_t eventId = line.number(1);
        const bool isNew = mConfigured.insert(eventId).second;
        if (isNew && line.option("disabled").empty()) {
            configure([=](EventParameters& p) { p.updateEventParams(eventId, true, 0); });
            fake::clearLog();
        }
        mHandler->report({eventId, number("bits", 3), static_cast<int>(number("pid", mReports)),
                          static_cast<int>(number("uid", 0)), line.option("text")});
        // Neither thread of the monitor may log during the exit.
        if (fake::logCount("insert monitor list") > 0) {
            EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: new THREAD_NAME"));
            EXPECT_TRUE(fake::awaitLog("read A proc failed."));
        }
        if (fake::logCount("received cancel") > 0) {
            EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: cancel "));
        }
    }
    static DumpContext& context() { return fake::heldCatches().begin()->second->context; }

    static CommercialNotes& notes(Line l) {
        return fake::heldCatches().at(static_cast<int>(l.number(1)))->commercial;
    }

    /** What happened on this thread, a line each, and what is so then. */
    std::string outcome(const std::string& verb) {
        std::string text;
        for (const fake::LogLine& line : fake::drainLog()) {
            const bool isOurs = line.thread == std::this_thread::get_id() && line.tag != "binder";
            if (isOurs && verb != "fresh" && verb != "<") text += shown(line);
        }
        for (const auto& [pid, running] : fake::heldCatches()) {
            const CommercialNotes& notes = running->commercial;
            if (verb != ">" || !notes.isCommercial()) continue;
            text += base::StringPrintf("catch %d: [%s] related %d, log-info 0x%x\n", pid,
                                       base::Join(notes.relatedEvents(), ", ").c_str(),
                                       notes.hasRelatedEvents(),
                                       static_cast<uint32_t>(notes.logInfo()));
        }
        if (!fake::heldCatches().empty() && context().xlogRequested.exchange(false))
            text += "xlog\n";
        return text;
    }
    /** With "\\" at the end of a log line without a newline. */
    static std::string shown(const fake::LogLine& line) {
        static const std::regex recordId(R"(\(record \d+\))");  // a random number
        std::string text = std::regex_replace(fake::shown(line), recordId, "(record ID)");
        const bool hasNewline = text.back() == '\n';
        if (hasNewline) text.pop_back();
        if (text[0] == 'V') return text.substr(2) + "\n";
        return base::StringReplace(text, "\n", "\\n", true) + (hasNewline ? "\n" : "\\\n");
    }
    static int carryOut(const std::string& command) {
        const auto deadline = fake::shellLimits().deadline;
        fake::note("$" + std::to_string(deadline / std::chrono::seconds(1)) + " " +
                   base::Trim(command));
        return fake::carryOut(command);
    }

    const ScriptVerbs mVerbs = {
            {"boot", [this](Line) { boot(); }},
            {"fresh", [this](Line) { boot(); }},
            {"set", [](Line l) { fake::setProperty(l.word(1), l.word(2)); }},
            {"name",
             [this](Line l) {
                 configure([l](auto& p) { p.setEventIdMap(0, l.number(1), l.word(2)); });
             }},
            {"recover",
             [this](Line l) {
                 configure([l](auto& p) { p.setRecoverId(l.number(1), l.number(2)); });
             }},
            {"window",
             [this](Line l) {
                 configure([l](auto& p) { p.setTimeWindow(l.number(1), l.number(2)); });
             }},
            {"processes",
             [](Line l) {
                 fake::setProcesses(
                         {{50, fake::process(1000, "system")},
                          {static_cast<int>(l.number(1)), fake::process(1000, l.word(2))}});
             }},
            {"process",
             [](Line l) {
                 const std::string cmdline = base::Join(base::Split(l.rest(2), "|"), '\0');
                 fake::setProcess(static_cast<int>(l.number(1)), {"", cmdline});
             }},
            {"unreadable", [](Line l) { fake::setProcess(static_cast<int>(l.number(1)), {}); }},
            {"proc", [](Line l) { fake::closeProc(l.word(1) == "closed"); }},
            {"client", [](Line l) { hasClient = l.word(1) == "there"; }},
            {"calls",
             [](Line l) {
                 fake::setCallOutcome(l.word(1) == "dropped" ? CallLine::Outcome::Full
                                                             : CallLine::Outcome::Returned);
             }},
            {"panic", [](Line l) { fake::refusePanic(l.word(1) == "refused"); }},
            {"signals", [](Line l) { fake::refuseSignals(l.word(1) == "refused"); }},
            {"framework",
             [this](Line l) {
                 mFramework->fails = l.word(1) == "fails";
                 defaultServiceManager()->addService(String16("kavel"), mFramework);
             }},
            {">", [this](Line l) { report(l); }},
            {"<", [this](Line l) { report(l); }},
            {"anr",
             [this](Line l) {
                 const std::string package = l.word(2).empty() ? "com.a" : l.word(2);
                 boot();
                 fake::clearLog();
                 report(ScriptLine("> 0x10000001 pid=7 text=processName:" + package +
                                   ",packageVersion:1,eventType:" + l.word(1)));
             }},
            {"during",
             [this](Line l) {
                 duringUpload = [this, l] {
                     mSays = outcome("during");
                     for (int64_t i = 0; i < l.number(2); ++i) report(l);
                     fake::clearLog();
                 };
             }},
            {"bits", [](Line l) { notes(l).setLogInfo(static_cast<int32_t>(l.number(2))); }},
            {"note", [](Line l) { notes(l).addRelatedEvent(l.word(2)); }},
            {"release", [](Line) { fake::releaseCatches(); }},
            {"window-over", [](Line) { context().combinedDumpRunning = false; }},
            {"close-folder", [](Line) { fake::heldCatches().begin()->second->folder()->close(); }},
            {"remove-folders",
             [](Line) { std::filesystem::remove_all("/data/persist_log/kavel30"); }},
            {"threads", [](Line l) { fake::refuseThreads(l.word(1) == "refused"); }},
            {"wall-clock", [](Line l) { fake::stepWallClock(l.number(1)); }},
            {"make-folder", [this](Line l) { makeFolder(l); }},
            {"pid-of",
             [](Line l) { fake::note("returns " + std::to_string(getPidForCommand(l.rest(1)))); }},
    };
    const test::TempDir mFolder;
    const std::vector<test::Series> mSeries = test::readSeries(KAVEL_GOLDEN_DIR "/series.txt");
    std::vector<std::function<void(EventParameters&)>> mSettings;
    std::set<int64_t> mConfigured;
    std::unique_ptr<KavelEventHandler> mHandler;
    const sp<Framework> mFramework = new Framework;
    int mReports = 0;  // since the last boot
    std::string mSays;
};

TEST_P(HandlerScript, GivesWhatTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       test::stepwise([this](const ScriptLine& step) { return follow(step); }));
}

INSTANTIATE_TEST_SUITE_P(Golden, HandlerScript, testing::Values("catchers", "handling", "recovery"),
                         [](const auto& script) { return script.param; });

}  // namespace
}  // namespace kavel
}  // namespace android
