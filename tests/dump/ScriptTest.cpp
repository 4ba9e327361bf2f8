// Would catch any change of what a catch runs and for how long, says, asks for and waits for, or of
// the order in which it does; a trace section that is missing or stays open; a limit that is off by
// one; a step for a record that is gone or without a folder.
//
// Scripts of catches: golden/*.txt. Run where /data is empty and its own: see CMakeLists.txt.

#include <algorithm>
#include <chrono>
#include <climits>
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
#include "dump/LogFolderName.h"
#include "dump/Nwatchcall.h"
#include "dump/Pack.h"
#include "dump/TraceCapture.h"
#include "dump/TrailLogPack.h"
#include "platform/Clock.h"
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

constexpr int kThrows = INT_MIN;

/** What a script's lines do. Events are known by the ids of their records. */
class Phone {
  public:
    std::string follow(const ScriptLine& line) {
        std::string all;
        const std::string steps = test::withPlaces(line.rest(0));
        for (const std::string& step : base::Split(test::replaced(steps, "; ", "\n"), "\n")) {
            mSays.clear();
            run(ScriptLine(step));
            all += shownWithState();
        }
        return all;
    }

  private:
    using Line = const ScriptLine&;

    void run(Line line) { mVerbs.at(line.verb())(line); }
    /** A command that begins with a text and ends with a status, though it may be done. */
    struct Failure {
        std::string start;
        int status;
        bool isDone;
    };
    struct Faults {
        std::vector<Failure> failures;
        std::string lateWriter;
        bool cutsArchives = false;
    } mFaults;

    std::string shown() { return test::folded(sorted(mBench->takeTranscript()), mSeries); }
    /** What has happened and then what mSays, in one line if that is short. */
    std::string shownWithState() {
        std::string all = shown();
        all.pop_back();
        return all + (all.empty() || mSays.empty() ? "" : " | ") + std::exchange(mSays, "") + "\n";
    }
    /** An empty phone: no files, no framework. */
    void refresh() {
        mCatches.clear();
        mBench = nullptr;
        for (const fs::directory_entry& entry : fs::directory_iterator("/data")) {
            fs::remove_all(entry.path());
        }
        fake::setSignals(true);
        mRing.clear();
        mFolders.clear();
        mFaults = {};
        mBench = std::make_unique<DumpBench>(
                [this](const std::string& command) { return carryOut(command); },
                [this] {
                    for (const auto& step : std::exchange(mSteps, {})) run(ScriptLine(step));
                });
    }
    void fail(const std::string& start, int status, bool isDone) {
        mFaults.failures.push_back({start, status, isDone});
    }
    int carryOut(const std::string& command) {
        const auto& all = mFaults.failures;
        const auto failure = std::find_if(all.begin(), all.end(), [&](const Failure& each) {
            return command.rfind(each.start, 0) == 0;
        });
        if (failure != all.end() && failure->status == kThrows) {
            throw std::runtime_error("no memory");
        }
        if (failure != all.end() && !failure->isDone) return failure->status;
        const int status = fake::carryOut(command);
        if (mFaults.cutsArchives && command.rfind("tar czf ", 0) == 0) {
            const std::string archive = ScriptLine(command).word(2);
            fs::resize_file(archive, fs::file_size(archive) - 1);
        }
        if (!mFaults.lateWriter.empty() && command.rfind("rm ", 0) == 0) {
            makeFile(mFaults.lateWriter, 0);
        }
        return failure == all.end() ? status : failure->status;
    }
    static void makeFile(const std::string& path, int64_t size) {
        fs::create_directories(fs::path(path).parent_path());
        test::makeFile(path, static_cast<uintmax_t>(size));
    }
    static void makeTrace(const std::string& path, int64_t seconds) {
        makeFile(path, 0);
        const time_t time = DumpBench::kStartUs / 1'000'000 + seconds;
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
    }
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
    void addCommercialEvent(Line line) {
        addEvent(line, intOf(line, 1), line.number(2), line.number(3));
        running(line).commercial.begin();
        running(line).commercial.setLogInfo(intOf(line, 3));
    }
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
        mSays = std::string(isKept ? "kept" : "not kept") + ", folder " +
                (running(line).folder()->isClosed() ? "closed" : "open");
    }
    static void setTraceUtility(const std::string& state) {
        using Outcome = CallLine::Outcome;
        fake::setTraceUtility(state != "gone");
        fake::setCallOutcome(state == "hangs" ? Outcome::Late : Outcome::Returned);
    }
    void conclude(const CatchRef& main) {
        KavelDumpUtilThread::commercialContinuousDumpThread(main, [this] { return mRing; });
    }
    static void packHangFiles(const std::string& folder) {
        if (folder == "/data/F") fs::create_directories(folder);
        packNwatchcallLog(copyNwatchcallLog(folder), folder, "hang warning");
    }
    /** A catch on a trail build from its first round to its archive. */
    void catchOnTrail(Line line) {
        const int64_t type = line.number(1);
        addEvent(line, DumpBench::kRecordId, type, line.number(2));
        const std::string in = line.option("in");
        const CatchRef& added = inFolder(DumpBench::kRecordId, in.empty() ? "/data/F" : in);
        KavelDumpUtilThread::immediateDumpThread(added, nullptr);
        KavelDumpUtilThread::trailContinuousDumpThread(added);
        showState(*added);
        mCatches.clear();
        mSays += StringPrintf("; %zu catches", context().catches.size());
    }
    /** What each of the masks starts for each of the event types; if given, with further bits. */
    void collectEach(Line line) {
        const uint32_t further = line.size() > 3 ? static_cast<uint32_t>(line.number(3)) : 0;
        std::string all;
        for (const std::string& type : base::Split(line.word(1), ",")) {
            for (const std::string& mask : base::Split(line.word(2), ",")) {
                const auto bits = static_cast<uint32_t>(std::stoll(mask, nullptr, 0));
                addEvent(line, 77, std::stoll(type, nullptr, 0), bits);
                collectLog(bits | further, inFolder(77, "/data/F"));
                showState(*mCatches.at(77));
                all.append(type).append(" ").append(mask).append(": ").append(shownWithState());
                context().captures.clear(~0U);
            }
        }
        mSays = all;
    }
    /** What packs of these event types do. */
    void packEach(Line line) {
        std::string all;
        for (size_t i = 1; i < line.size(); ++i) {
            fs::remove_all(kArchiveDirectory);
            addEvent(line, 77, line.number(i), 0);
            trailLogPack(inFolder(77, "/data/F"), 0);
            all += line.word(i) + ": " + shown();
        }
        mSays = all;
    }
    /** Starts the daemon again so many times, each with the same results. */
    void packLeftovers(int64_t starts) {
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
        if (!folders.empty()) EXPECT_TRUE(test::eventually(hasEnded));
        const std::string all = shown();
        mSays = all;
        if (starts > 1) packLeftovers(starts - 1);
        EXPECT_EQ(mSays, all) << "each start does the same";
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
            names.insert(name);
        }
        mSays = base::Trim(test::folded(base::Join(names, " | ") + "\n", {}));
    }
    void showState(const Catch& running) {
        mBench->settle();
        mSays += StringPrintf("collected 0x%x, %s; captures 0x%x; window %s; xlog %s",
                              running.event->collected.load(),
                              verifyLogIntegrity(*running.event) ? "complete" : "incomplete",
                              context().captures.mask(),
                              context().combinedDumpRunning ? "open" : "closed",
                              context().xlogRequested ? "wanted" : "not wanted");
    }
    /** The lines about a directory's entries, which come in its own order, in theirs. */
    static std::string sorted(const std::string& transcript) {
        std::vector<std::string> lines = base::Split(transcript, "\n");
        const auto isOfEntry = [](const std::string& line) {
            return base::EndsWith(line, " scanned.\\") || base::EndsWith(line, ", skipped.\\") ||
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
            {"signals-fail", [](Line) { fake::setSignals(false); }},
            {"set", [](Line l) { fake::setProperty(l.word(1), l.word(2)); }},
            {"at", [](Line l) { fake::resetTime(DumpBench::kStartUs + l.number(1)); }},
            {"advance", [](Line l) { fake::advance(l.number(1)); }},
            {"step-wall-clock", [](Line l) { fake::stepWallClock(l.number(1)); }},
            {"before-sleep", [this](Line l) { mSteps.push_back(l.rest(1)); }},
            // Commands that begin with a text end with a status, undone or done, or an exception.
            {"fail", [this](Line l) { fail(l.rest(2), intOf(l, 1), false); }},
            {"fail-late", [this](Line l) { fail(l.rest(2), intOf(l, 1), true); }},
            {"throw", [this](Line l) { fail(l.rest(1), kThrows, false); }},
            {"mend", [this](Line) { mFaults.failures.clear(); }},
            // Archives that tar makes lack their end, as after a gzip that died.
            {"cut-archives", [this](Line) { mFaults.cutsArchives = true; }},
            // A file that is made as the folder around it is being removed.
            {"late-writer", [this](Line l) { mFaults.lateWriter = l.rest(1); }},
            // Events and their catches.
            {"event", [this](Line l) { addEvent(l, intOf(l, 1), l.number(2), l.number(3)); }},
            {"commercial-event", [this](Line l) { addCommercialEvent(l); }},
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
            {"conclude", [this](Line l) { conclude(inFolder(l)); }},
            {"collect-each", [this](Line l) { collectEach(l); }},
            {"native-trace", [this](Line l) { dumpNativeSystraceWithThread(*running(l).event); }},
            {"pack", [this](Line l) { trailLogPack(inFolder(l), 0); }},
            {"pack-each", [this](Line l) { packEach(l); }},
            {"pack-commercial", [this](Line l) { commercialLogPack(inFolder(l), mRing); }},
            {"pack-xlog", [](Line l) { packXlogForWeChat(l.rest(1)); }},
            {"xlog-size", [this](Line l) { mSays = std::to_string(totalXlogSize(l.rest(1))); }},
            {"nwatchcall", [](Line l) { packHangFiles(l.rest(1)); }},
            {"leftovers", [this](Line l) { packLeftovers(l.size() > 1 ? l.number(1) : 1); }},
    };
    const std::vector<test::Series> mSeries = test::readSeries(KAVEL_GOLDEN_DIR "/series.txt");
    std::unique_ptr<DumpBench> mBench;
    std::map<int, CatchRef> mCatches;
    std::map<std::string, LogFolderRef> mFolders;
    std::vector<EventRef> mRing;
    std::vector<std::string> mSteps;
    std::string mSays;
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
