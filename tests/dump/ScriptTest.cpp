// Would catch any change of what a catch runs and for how long, says, asks for and waits for, or of
// the order in which it does; a trace section that is missing or stays open; a limit that is off by
// one; a step for a record that is gone or without a folder.
//
// Scripts of catches: golden/*.txt. Run where /data is empty and its own: see CMakeLists.txt.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "dump/AppLogs.h"
#include "dump/CommercialLogPack.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LeftoverFolders.h"
#include "dump/LogCollector.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "dump/Nwatchcall.h"
#include "dump/Pack.h"
#include "dump/TraceCapture.h"
#include "dump/TrailLogPack.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeCallLine.h"
#include "tests/fake/FakeCaptures.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/Script.h"
#include "tests/fake/Series.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using base::StringPrintf;
using test::DumpBench;
using test::ScriptLine;

/** What a script's lines do. Events are known by the ids of their records. */
class Phone {
  public:
    std::string follow(const ScriptLine& line) {
        mResults.clear();
        const std::string steps = test::withPlaces(line.rest(0));
        for (const std::string& step : base::Split(test::replaced(steps, "; ", "\n"), "\n")) {
            run(step);
            say("");
        }
        return test::folded(test::replaced(sorted(mResults), "[dravo_kavel ", "[~"), mSeries);
    }

  private:
    using Line = const ScriptLine&;

    void run(const std::string& step) {
        const ScriptLine line(step);
        mVerbs.at(line.verb())(line);
    }
    /** Adds what has happened to the results, and behind it the text, if any. */
    void say(const std::string& text) {
        mResults += mBench->takeTranscript() + text + (text.empty() ? "" : "\n");
    }
    /** An empty phone: no files, no framework. */
    void refresh() {
        mCatches.clear();
        mBench = nullptr;
        for (const auto& entry : fs::directory_iterator("/data")) fs::remove_all(entry);
        fake::signalsWork = true;
        mRing.clear();
        mFolders.clear();
        mFailures.clear();
        {
            MutexLock lock(mStepsLock);
            mSteps.clear();
        }
        mBench = std::make_unique<DumpBench>(
                [this](const std::string& command) { return carryOut(command); },
                [this] { runSteps("sleep"); });
    }
    void runSteps(const std::string& occasion) {
        std::vector<std::string> steps;
        {
            MutexLock lock(mStepsLock);
            steps = std::exchange(mSteps[occasion], {});
        }
        for (const std::string& step : steps) run(step);
    }
    void addStep(Line line) {
        MutexLock lock(mStepsLock);
        mSteps[line.word(1)].push_back(line.rest(2));
    }
    int carryOut(const std::string& command) {
        const auto failure = std::find_if(mFailures.begin(), mFailures.end(), [&](Line each) {
            return command.rfind(each.rest(2), 0) == 0;
        });
        const bool fails = failure != mFailures.end();
        if (fails && failure->verb() == "fail") return intOf(*failure, 1);
        const int status = fake::carryOut(command);
        runSteps(ScriptLine(command).verb());
        return fails ? intOf(*failure, 1) : status;
    }
    static void makeFile(const std::string& path, int64_t size) {
        fs::create_directories(fs::path(path).parent_path());
        test::makeFile(path, static_cast<uintmax_t>(size));
    }
    static void makeTrace(const std::string& path, int64_t seconds) {
        makeFile(path, 0);
        const time_t time = test::kScriptStartUs / 1'000'000 + seconds;
        const timespec times[] = {{time, 0}, {time, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    void addEvent(Line line, int id, int64_t type, int64_t mask) {
        context().combinedDumpRunning = true;
        const std::string window = line.option("window");
        context().parameters.setTimeWindow(type, window.empty() ? 10'000 : std::stoll(window));
        context().parameters.setEventIdMap(0, type, line.option("name"));
        fake::clearLog();
        mCatches[id] = mBench->add(
                type, static_cast<uint32_t>(mask),
                {line.option("process"), line.option("version"), line.option("type")}, id);
        fake::clearLog();  // the time was read for the record, by the test
        if (line.verb() != "commercial-event") return;
        mCatches[id]->commercial.begin();
        mCatches[id]->commercial.setLogInfo(static_cast<int>(mask));
    }
    void addEvent(Line line) { addEvent(line, intOf(line, 1), line.number(2), line.number(3)); }
    /**
     * The catch, in the folder at that path, if any. One below /data/F is made, with something to
     * pack in it; one called shared is of a window.
     */
    const CatchRef& inFolder(int id, const std::string& path) {
        const CatchRef& found = mCatches.at(id);
        if (path.empty() && found->commercial.isCommercial()) return found;
        LogFolderRef& folder = mFolders[path];
        const bool isFilled = path.rfind("/data/F", 0) == 0;
        if (folder == nullptr || (isFilled && folder->isClosed())) {
            const bool isWindow = path.find("shared") != std::string::npos;
            folder = std::make_shared<LogFolder>(
                    path, isWindow ? LogFolder::Kind::Window : LogFolder::Kind::Own);
        }
        if (isFilled) makeFile(path + "/x", 0);
        found->setFolder(folder);
        return found;
    }
    const CatchRef& inFolder(Line line) { return inFolder(intOf(line, 1), line.word(2)); }
    void setRing(Line line) {
        mRing.clear();
        for (size_t i = 1; i < line.size(); ++i) {
            mRing.push_back(mCatches.at(intOf(line, i))->event);
        }
    }
    /** Further technical events, whose catches may push out those that are kept. */
    void crowd(Line line) {
        for (int id = 100; id < 100 + intOf(line, 1); ++id) {
            addEvent(line, id, 0x3, 0);
            context().technical.keep(mCatches.at(id), monotonicNs());
        }
    }
    void claim(Line line) {
        const bool isKept = context().technical.claim(running(line).event) != nullptr;
        const bool isClosed = running(line).folder()->isClosed();
        say(StringPrintf("%s, folder %s", isKept ? "kept" : "not kept",
                         isClosed ? "closed" : "open"));
    }
    static void setTraceUtility(const std::string& state) {
        using Outcome = CallLine::Outcome;
        fake::hasTraceUtility = state != "gone";
        fake::setCallOutcome(state == "hangs" ? Outcome::Late : Outcome::Returned);
    }
    /** A catch on a trail build from its first round to its archive. */
    void catchOnTrail(Line line) {
        addEvent(line, DumpBench::kRecordId, line.number(1), line.number(2));
        const std::string in = line.option("in");
        const CatchRef& added = inFolder(DumpBench::kRecordId, in.empty() ? "/data/F" : in);
        KavelDumpUtilThread::immediateDumpThread(added, nullptr);
        KavelDumpUtilThread::trailContinuousDumpThread(added);
        showState(*added);
        mCatches.clear();
        if (context().catches.find(DumpBench::kRecordId) != nullptr)
            say("the catch is still there");
    }
    /** What each of the masks starts, or packs, for each of the types; if given, of more bits. */
    void doEach(Line line) {
        const uint32_t further = line.size() > 3 ? static_cast<uint32_t>(line.number(3)) : 0;
        for (const std::string& type : base::Split(line.word(1), ",")) {
            for (const std::string& mask : base::Split(line.word(2), ",")) {
                const auto bits = static_cast<uint32_t>(std::stoll(mask, nullptr, 0));
                addEvent(line, 77, std::stoll(type, nullptr, 0), bits);
                say(type + " " + mask + ":");
                const CatchRef& added = inFolder(77, "/data/F");
                if (line.verb() == "pack-each") {
                    trailLogPack(added, 0);
                    fs::remove_all(kArchiveDirectory);
                    continue;
                }
                collectLog(bits | further, added);
                showState(*added);
                context().captures.clear(~0U);
            }
        }
    }
    /** What a start of the daemon does about the folders that it finds. */
    std::string packLeftovers() {
        std::set<fs::path> folders;
        std::error_code none;
        for (const auto& entry : fs::directory_iterator(kLogFolderRoot, none)) {
            if (entry.symlink_status().type() == fs::file_type::directory) folders.insert(entry);
        }
        fs::file_time_type time;
        for (const fs::path& each : folders) {  // the later the name, the younger
            fs::last_write_time(each, time += std::chrono::seconds(1));
        }
        packLeftoverFolders();
        const auto hasEnded = [] {
            return fake::logCount("Folders]: done,") + fake::logCount("Folders]: ended:") > 0;
        };
        EXPECT_TRUE(folders.empty() || test::eventually(hasEnded));
        return mBench->takeTranscript();
    }
    /** So many starts, each with the same results. */
    void packLeftovers(int64_t starts) {
        const std::string all = packLeftovers();
        while (--starts > 0) EXPECT_EQ(packLeftovers(), all);
        mResults += all;
    }
    /** What is in a folder and, for archives, what was packed. */
    void list(const std::string& folder) {
        std::set<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            std::string name = entry.path().lexically_relative(folder);
            if (entry.is_regular_file() && entry.path().extension() == ".gz") {
                std::string packed = test::contentOf(entry.path());
                std::replace_if(
                        packed.begin(), packed.end(), [](char c) { return c < ' '; }, ' ');
                name += ": " + base::Trim(packed);
            }
            names.insert(base::Trim(name));
        }
        say(base::Join(names, "\n"));
    }
    void showState(const Catch& running) {
        mBench->settle();
        uint32_t captures = 0;
        for (const uint32_t bit : {KAVEL_LOGINFO_NATIVE_SYSTRACE, KAVEL_LOGINFO_FRAMEWORK_SYSTRACE,
                                   KAVEL_LOGINFO_SYSTEM_SERVER_TRACES}) {
            if (context().captures.isPending(bit)) captures |= bit;
        }
        say(StringPrintf("collected 0x%x, %s%s%s%s", running.event->collected.load(),
                         verifyLogIntegrity(*running.event) ? "complete" : "incomplete",
                         captures == 0 ? "" : StringPrintf("; captures 0x%x", captures).c_str(),
                         context().combinedDumpRunning ? "" : "; window closed",
                         context().xlogRequested ? "; xlog wanted" : ""));
    }
    /** The lines about a directory's entries, which come in its own order, in theirs. */
    static std::string sorted(const std::string& transcript) {
        std::vector<std::string> lines = base::Split(transcript, "\n");
        const auto isOfEntry = [](const std::string& line) {
            return base::EndsWith(line, " scanned.") || base::EndsWith(line, ", skipped.") ||
                   line.find("]: stat ") != std::string::npos;
        };
        for (auto begin = lines.begin(); begin != lines.end();) {
            begin = std::find_if(begin, lines.end(), isOfEntry);
            const auto end = std::find_if_not(begin, lines.end(), isOfEntry);
            std::sort(begin, end);
            begin = end;
        }
        return base::Join(lines, "\n");
    }

    DumpContext& context() { return mBench->context(); }
    static int intOf(Line l, size_t i) { return static_cast<int>(l.number(i)); }
    Catch& running(Line l) { return *mCatches.at(intOf(l, 1)); }
    const test::ScriptVerbs mVerbs = {
            {"fresh", [this](Line) { refresh(); }},
            // Files: how many bytes or, for a trace, how many seconds after the start it was made.
            {"file", [](Line l) { makeFile(l.rest(2), l.number(1)); }},
            {"trace", [](Line l) { makeTrace(l.rest(2), l.number(1)); }},
            {"link", [](Line l) { fs::create_symlink(l.word(1), l.rest(2)); }},
            {"folder", [](Line l) { fs::create_directories(l.rest(1)); }},
            {"remove", [](Line l) { fs::remove_all(l.rest(1)); }},
            {"list", [this](Line l) { list(l.rest(1)); }},
            // The world.
            {"trace-utility", [](Line l) { setTraceUtility(l.word(1)); }},
            {"signals-fail", [](Line) { fake::signalsWork = false; }},
            {"set", [](Line l) { fake::setProperty(l.word(1), l.word(2)); }},
            {"at", [](Line l) { fake::resetTime(test::kScriptStartUs + l.number(1)); }},
            {"advance", [](Line l) { fake::advance(l.number(1)); }},
            {"step-wall-clock", [](Line l) { fake::stepWallClock(l.number(1)); }},
            // Once, ahead of a sleep or behind a command with that first word.
            {"at-next", [this](Line l) { addStep(l); }},
            {"throw", [](Line) { throw std::runtime_error("no memory"); }},
            // As after a gzip that died.
            {"shorten", [](Line l) { fs::resize_file(l.word(1), fs::file_size(l.word(1)) - 1); }},
            // Commands that begin with a text end with a status, undone or done.
            {"fail", [this](Line l) { mFailures.push_back(l); }},
            {"fail-late", [this](Line l) { mFailures.push_back(l); }},
            {"mend", [this](Line) { mFailures.clear(); }},
            // Events and their catches.
            {"event", [this](Line l) { addEvent(l); }},
            {"commercial-event", [this](Line l) { addEvent(l); }},
            {"release", [this](Line l) { mCatches.erase(intOf(l, 1)); }},
            {"ring", [this](Line l) { setRing(l); }},
            {"crowd", [this](Line l) { crowd(l); }},
            {"claim", [this](Line l) { claim(l); }},
            {"xlog-wanted", [this](Line) { context().xlogRequested = true; }},
            // What the daemon does.
            {"trail", [this](Line l) { catchOnTrail(l); }},
            {"immediate",
             [this](Line l) { KavelDumpUtilThread::immediateDumpThread(inFolder(l), nullptr); }},
            {"continuous",
             [this](Line l) { KavelDumpUtilThread::trailContinuousDumpThread(inFolder(l)); }},
            {"conclude",
             [this](Line l) {
                 const auto ring = [this] { return mRing; };
                 KavelDumpUtilThread::commercialContinuousDumpThread(inFolder(l), ring);
             }},
            {"collect-each", [this](Line l) { doEach(l); }},
            {"native-trace",
             [this](Line l) { dumpNativeSystraceWithThread(*running(l).event, "/data/F"); }},
            {"pack", [this](Line l) { trailLogPack(inFolder(l), 0); }},
            {"pack-each", [this](Line l) { doEach(l); }},
            {"pack-commercial", [this](Line l) { commercialLogPack(inFolder(l), mRing); }},
            {"last-failure",
             [this](Line) {
                 const ReportEntry entry = ReportJournal::instance().status().failures.back();
                 say(std::string(rowOf(entry.fate).key) + " (" + entry.detail + ")");
             }},
            {"pack-xlog", [](Line l) { packXlogForWeChat(l.rest(1)); }},
            {"xlog-size", [this](Line l) { say(std::to_string(totalXlogSize(l.rest(1)))); }},
            {"nwatchcall",
             [](Line l) { packNwatchcallLog(copyNwatchcallLog(l.rest(1)), l.rest(1), "hang"); }},
            {"leftovers", [this](Line l) { packLeftovers(l.size() > 1 ? l.number(1) : 1); }},
    };
    const std::vector<test::Series> mSeries = test::readSeries(KAVEL_GOLDEN_DIR "/series.txt");
    std::unique_ptr<DumpBench> mBench;
    std::map<int, CatchRef> mCatches;
    std::map<std::string, LogFolderRef> mFolders;
    std::vector<EventRef> mRing;
    std::vector<ScriptLine> mFailures;
    Mutex mStepsLock;  // commands run on the threads of the pools
    std::map<std::string, std::vector<std::string>> mSteps GUARDED_BY(mStepsLock);
    std::string mResults;
};

class Script : public testing::TestWithParam<std::string> {};

TEST_P(Script, LeadsToWhatItSays) {
    Phone phone;
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       [&](const ScriptLine& line) { return phone.follow(line); });
}

INSTANTIATE_TEST_SUITE_P(Golden, Script,
                         testing::Values("collect", "commercial", "files", "packs", "traces",
                                         "trail"),
                         [](const auto& script) { return script.param; });

}  // namespace
}  // namespace android::kavel
