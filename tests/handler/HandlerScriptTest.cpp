// Would catch an event that is handled in another way, or in two, by the wrong property or state; a
// report's value in another field; a statistic that is lost, sent twice or with other fields; a
// recovery that does anything else; an event in another event's folder or in one of another name,
// or with another selection of those around it; a log line that is lost, or that is written with
// another priority or tag.

#include <cinttypes>
#include <filesystem>
#include <functional>
#include <memory>
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

    /** Does what a line of the script says; returns what came of it. */
    std::string follow(const ScriptLine& line) {
        fake::clearLog();
        mSays.clear();
        const auto verb = mVerbs.find(line.verb());
        if (verb == mVerbs.end()) return "no such verb";
        verb->second(line);
        const std::string text = outcome(line.verb());
        return mSays + text;
    }

  private:
    using Line = const ScriptLine&;

    void boot() {
        fake::resetShell(fake::carryOut);
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
            return command.find("/kavel_") == std::string::npos ? 256 : status;
        });
        const auto event = fake::event(line.number(1), 0, line.option("process"));
        const KavelEvent* const given = line.word(1) == "0" ? nullptr : event.get();
        mSays = buildLogPathFolderName(mHandler->parameters(), given) + "\n";
        for (const std::string& command : fake::commands()) mSays += "$ " + command;
        fake::resetShell(fake::carryOut);
    }
    void report(Line line) {
        const auto number = [&](const char* name, int64_t otherwise) {
            const std::string value = line.option(name);
            return value.empty() ? otherwise : std::stoll(value, nullptr, 0);
        };
        const int64_t seconds = number("at", int64_t{100} * mReports++);
        fake::resetTime(fake::kStart / 1000 + seconds * 1'000'000);
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

    /** What happened, a line each, and what is so then. */
    std::string outcome(const std::string& verb) {
        std::string text;
        const bool isShown = verb != "fresh" && verb != "<";
        for (const std::string& line : fake::takeLog()) {
            const bool isOurs = line.rfind("W binder: ", 0) != 0;  // the binder library's
            if (isOurs && isShown) text += line + "\n";
        }
        for (const std::string& thread : fake::takeDumpThreads()) {
            if (isShown) text += "thread " + thread + "\n";
        }
        for (const std::string& deed : fake::takeDeeds()) text += deed + "\n";
        for (const auto& [pid, held] : fake::heldCatches()) {
            const CommercialNotes& notes = held->commercial;
            if (verb != ">" || !notes.isCommercial()) continue;
            text += base::StringPrintf("catch %d: [%s] related %d, log-info 0x%x\n", pid,
                                       base::Join(notes.relatedEvents(), ", ").c_str(),
                                       notes.hasRelatedEvents(),
                                       static_cast<uint32_t>(notes.logInfo()));
        }
        if (!fake::heldCatches().empty() && context().xlogRequested.exchange(false)) text += "xlog";
        return text;
    }

    const ScriptVerbs mVerbs = {
            // The world.
            {"boot", [this](Line) { boot(); }},
            {"fresh", [this](Line) { boot(); }},
            {"set", [](Line l) { fake::setProperty(l.word(1), l.word(2)); }},
            {"name",
             [this](Line l) {
                 configure([id = l.number(1), name = l.word(2)](EventParameters& p) {
                     p.setEventIdMap(0, id, name);
                 });
             }},
            {"recover",
             [this](Line l) {
                 configure([id = l.number(1), recoverId = l.number(2)](EventParameters& p) {
                     p.setRecoverId(id, recoverId);
                 });
             }},
            {"window",
             [this](Line l) {
                 configure([id = l.number(1), ms = l.number(2)](EventParameters& p) {
                     p.setTimeWindow(id, ms);
                 });
             }},
            {"processes",
             [](Line l) {
                 fake::setProcesses(
                         {{50, fake::process(1000, "system")},
                          {static_cast<int>(l.number(1)), fake::process(1000, l.word(2))}});
             }},
            {"process",
             [](Line l) {
                 const bool isReadable = l.word(2) != "unreadable";
                 const std::string cmdline = base::Join(base::Split(l.rest(2), "|"), '\0');
                 fake::setProcess(static_cast<int>(l.number(1)),
                                  {"", isReadable ? std::optional(cmdline) : std::nullopt});
             }},
            {"proc", [](Line l) { fake::closeProc(l.word(1) == "closed"); }},
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
            // Reports and catches.
            {">", [this](Line l) { report(l); }},
            {"<", [this](Line l) { report(l); }},
            {"during",
             [this](Line l) {
                 duringUpload = [this, l] {
                     mSays = base::Join(fake::takeLog(), '\n') + "\n";
                     for (int64_t i = 0; i < l.number(2); ++i) report(l);
                     fake::clearLog();
                     fake::takeDumpThreads();
                 };
             }},
            {"bits",
             [](Line l) {
                 fake::heldCatches()
                         .at(static_cast<int>(l.number(1)))
                         ->commercial.setLogInfo(static_cast<int32_t>(l.number(2)));
             }},
            {"note",
             [](Line l) {
                 fake::heldCatches()
                         .at(static_cast<int>(l.number(1)))
                         ->commercial.addRelatedEvent(l.word(2));
             }},
            {"release", [](Line) { fake::releaseCatches(); }},
            {"window-over", [](Line) { context().combinedDumpRunning = false; }},
            {"make-folder", [this](Line l) { makeFolder(l); }},
            {"pid-of",
             [this](Line l) { mSays = std::to_string(getPidForCommand(l.rest(1))) + "\n"; }},
    };
    const test::TempDir mFolder;
    std::vector<std::function<void(EventParameters&)>> mSettings;
    std::set<int64_t> mConfigured;
    std::unique_ptr<KavelEventHandler> mHandler;
    const sp<Framework> mFramework = new Framework;
    int mReports = 0;  // since the last boot
    std::string mSays;
};

TEST_P(HandlerScript, GivesWhatTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       [this](const ScriptLine& line) { return follow(line); });
}

INSTANTIATE_TEST_SUITE_P(Golden, HandlerScript, testing::Values("catchers", "handling", "recovery"),
                         [](const auto& script) { return script.param; });

}  // namespace
}  // namespace kavel
}  // namespace android
