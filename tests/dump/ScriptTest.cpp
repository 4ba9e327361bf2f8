// Scripts of catches: golden/*.txt. Run where /data is empty and its own: see CMakeLists.txt.

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
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
#include "dump/NearestFile.h"
#include "dump/Nwatchcall.h"
#include "dump/Pack.h"
#include "dump/TraceCapture.h"
#include "dump/TrailLogPack.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/FakeCaptures.h"
#include "tests/dump/Folded.h"
#include "tests/fake/FakeCallLine.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/Script.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using base::StringPrintf;
using test::DumpBench;
using test::ScriptLine;
using test::ScriptVerbs;

/** What a script's lines do. Events are known by the ids of their records. */
class Phone {
  public:
    std::string follow(const ScriptLine& line) {
        const auto verb = mVerbs.find(line.verb());
        if (verb == mVerbs.end()) return "no such verb";
        mSays.clear();
        verb->second(line);
        return test::folded(sorted(mBench->takeTranscript())) + mSays;
    }

  private:
    using Line = const ScriptLine&;

    /** An empty phone: no files, no framework. */
    void refresh() {
        mCatches.clear();
        mBench = nullptr;
        for (const fs::directory_entry& entry : fs::directory_iterator("/data")) {
            fs::remove_all(entry.path());
        }
        fake::setFramework({false, OK, 0});
        fake::setSignals(true);
        mRing.clear();
        mFolders.clear();
        mFailures.clear();
        mLateWriter.clear();
        mCutsArchives = false;
        mBench = std::make_unique<DumpBench>(
                [this](const std::string& command) { return run(command); });
    }
    int run(const std::string& command) {
        const auto failure = std::find_if(mFailures.begin(), mFailures.end(), [&](const auto& f) {
            return command.rfind(f.start, 0) == 0;
        });
        if (failure != mFailures.end() && !failure->isDone) return failure->status;
        const int status = fake::carryOut(command);
        if (mCutsArchives && command.rfind("tar ", 0) == 0) {
            const size_t end = command.find(kArchiveSuffix) + strlen(kArchiveSuffix);
            const std::string archive =
                    command.substr(strlen("tar czf "), end - strlen("tar czf "));
            fs::resize_file(archive, fs::file_size(archive) - 1);
        }
        if (!mLateWriter.empty() && command.rfind("rm -rf ", 0) == 0) makeFile(mLateWriter, 0);
        return failure == mFailures.end() ? status : failure->status;
    }
    void fail(Line line, bool isDone) {
        mFailures.push_back({line.rest(2), static_cast<int>(line.number(1)), isDone});
    }
    static void makeFile(const std::string& path, int64_t size) {
        fs::create_directories(fs::path(path).parent_path());
        test::makeFile(path, static_cast<uintmax_t>(size));
    }
    static void makeTrace(const std::string& path, int64_t seconds) {
        makeFile(path, 0);
        const timespec time = {DumpBench::kStartUs / 1'000'000 + seconds, 0};
        const timespec times[] = {time, time};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    static void setFramework(Line line) {
        fake::setFramework({true, static_cast<status_t>(line.number(2)),
                            static_cast<int32_t>(line.number(3))});
    }
    void addEvent(Line line) {
        context().combinedDumpRunning = true;
        mCatches[record(line)] =
                mBench->add(line.number(2), static_cast<uint32_t>(line.number(3)),
                            {line.option("process"), line.option("version"), line.option("type")},
                            record(line));
    }
    /**
     * The catch of the line's event, in the folder that its third word names, if any. One below
     * /data/F is made, with something to pack in it; one called shared is of a window.
     */
    const CatchRef& inFolder(Line line, const std::string& path) {
        const CatchRef& found = mCatches.at(record(line));
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
    const CatchRef& inFolder(Line line) { return inFolder(line, line.word(2)); }
    std::vector<EventRef> ring(const CatchRef& main) const {
        std::vector<EventRef> ring = {main->event};
        ring.insert(ring.end(), mRing.begin(), mRing.end());
        return ring;
    }
    /** Commands in the order of their texts: the directory's own is a matter of chance. */
    void packLeftovers() {
        mBench->takeTranscript();
        packLeftoverFolders();
        EXPECT_TRUE(!fs::exists(kLogFolderRoot) || fake::awaitLog("Folders]: done,"));
        for (const fake::LogLine& line : fake::logLines()) {
            if (line.text.find("done,") != std::string::npos) mSays = line.text;
        }
        std::vector<std::string> lines = base::Split(mBench->takeTranscript(), "\n");
        std::sort(lines.begin(), lines.end());
        mSays += base::Join(lines, "\n") + "\n";
    }
    /** Packs so many folders, each a second younger than the one before it. Says which are given
     * up. */
    void packManyLeftovers(int64_t count) {
        for (int64_t i = 0; i < count; ++i) {
            const std::string folder = std::string(kLogFolderRoot) + "/kavel_e_" +
                                       std::to_string(i) +
                                       "@831be687eb45bbc0@@2024-03-07-09-05-02-007";
            makeFile(folder + "/x", 0);
            fs::last_write_time(folder, fs::file_time_type() + std::chrono::seconds(i));
        }
        packLeftovers();
        std::string removed;
        for (const std::string& line : base::Split(mSays, "\n")) {
            if (line.find("$ rm -rf ") != std::string::npos) removed += line + "\n";
        }
        mSays = removed;
    }
    /** The place, from 0 on, of the file that is nearest to an offset, or -1. */
    void findNearest(Line line) {
        std::vector<TraceFile> files;
        for (size_t i = 3; i < line.size(); ++i) files.push_back({"f", line.number(i)});
        mSays = std::to_string(nearestFile(files, line.number(1), line.number(2))) + "\n";
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
        mSays = base::Join(names, "\n") + "\n";
    }
    void showState(Line line) {
        mBench->settle();
        mSays = StringPrintf("collected 0x%x, %s; captures 0x%x; window %s; xlog %s\n",
                             running(line).event->collected.load(),
                             verifyLogIntegrity(*running(line).event) ? "complete" : "incomplete",
                             context().captures.mask(),
                             context().combinedDumpRunning ? "open" : "closed",
                             context().xlogRequested ? "wanted" : "not wanted");
    }
    /** The lines about a directory's entries, which come in its own order, in theirs. */
    static std::string sorted(const std::string& transcript) {
        std::vector<std::string> lines = base::Split(transcript, "\n");
        const auto isOfEntry = [](const std::string& line) {
            return base::EndsWith(line, " scanned.") || line.find("]: stat ") != std::string::npos;
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
    static int record(Line line) { return static_cast<int>(line.number(1)); }
    Catch& running(Line line) { return *mCatches.at(record(line)); }
    const ScriptVerbs mVerbs = {
            {"fresh", [this](Line) { refresh(); }},
            // Files: how many bytes or, for a trace, how many seconds after the event it was
            // written.
            {"file", [](Line line) { makeFile(line.rest(2), line.number(1)); }},
            {"trace", [](Line line) { makeTrace(line.rest(2), line.number(1)); }},
            {"link", [](Line line) { fs::create_symlink(line.word(1), line.rest(2)); }},
            {"folder", [](Line line) { fs::create_directories(line.rest(1)); }},
            {"remove", [](Line line) { fs::remove_all(line.rest(1)); }},
            // The world.
            {"framework", setFramework},
            {"trace-utility",
             [](Line line) {
                 using Outcome = CallLine::Outcome;
                 fake::setTraceUtility(line.word(1) != "gone");
                 fake::setCallOutcome(line.word(1) == "hangs" ? Outcome::Late : Outcome::Returned);
             }},
            {"signals-fail", [](Line) { fake::setSignals(false); }},
            // Commands that begin with a text end with a status, undone or done.
            {"fail", [this](Line l) { fail(l, false); }},
            {"fail-late", [this](Line l) { fail(l, true); }},
            {"mend", [this](Line) { mFailures.clear(); }},
            // Archives that tar makes lack their end, as after a gzip that died.
            {"cut-archives", [this](Line) { mCutsArchives = true; }},
            // A file that is made as the folder around it is being removed.
            {"late-writer", [this](Line l) { mLateWriter = l.rest(1); }},
            {"set", [](Line line) { fake::setProperty(line.word(1), line.word(2)); }},
            {"window",
             [this](Line l) { context().parameters.setTimeWindow(l.number(1), l.number(2)); }},
            {"name",
             [this](Line l) { context().parameters.setEventIdMap(0, l.number(1), l.rest(2)); }},
            {"xlog-wanted", [this](Line) { context().xlogRequested = true; }},
            {"at", [](Line line) { fake::resetTime(DumpBench::kStartUs + line.number(1)); }},
            {"advance", [](Line line) { fake::advance(line.number(1)); }},
            // Events and their catches.
            {"event", [this](Line line) { addEvent(line); }},
            {"commercial-event",
             [this](Line line) {
                 addEvent(line);
                 running(line).commercial.begin();
                 running(line).commercial.setLogInfo(static_cast<int32_t>(line.number(3)));
             }},
            {"release",
             [this](Line line) {
                 mCatches.erase(record(line));
                 mSays = StringPrintf("catches %zu\n", context().catches.size());
             }},
            {"ring",
             [this](Line line) {
                 mRing.clear();
                 for (size_t i = 1; i < line.size(); ++i) {
                     mRing.push_back(mCatches.at(static_cast<int>(line.number(i)))->event);
                 }
             }},
            {"collected",
             [this](Line l) { running(l).event->collected |= static_cast<uint32_t>(l.number(2)); }},
            {"claim",
             [this](Line line) {
                 const bool isKept = context().technical.claim(running(line).event) != nullptr;
                 mSays = isKept ? "kept\n" : "not kept\n";
             }},
            {"many-leftovers", [this](Line l) { packManyLeftovers(l.number(1)); }},
            {"closed",
             [this](Line l) { mSays = running(l).folder()->isClosed() ? "yes\n" : "no\n"; }},
            {"state", [this](Line line) { showState(line); }},
            // What the daemon does.
            {"nearest", [this](Line line) { findNearest(line); }},
            {"leftovers",
             [this](Line l) {
                 for (int64_t i = l.size() > 1 ? l.number(1) : 1; i > 0; --i) packLeftovers();
             }},
            {"list", [this](Line l) { list(l.rest(1)); }},
            {"exists", [this](Line l) { mSays = fs::exists(l.rest(1)) ? "yes\n" : "no\n"; }},
            {"immediate",
             [this](Line l) { KavelDumpUtilThread::immediateDumpThread(inFolder(l), nullptr); }},
            {"continuous",
             [this](Line l) { KavelDumpUtilThread::trailContinuousDumpThread(inFolder(l)); }},
            {"conclude",
             [this](Line l) {
                 const CatchRef& main = inFolder(l);
                 KavelDumpUtilThread::commercialContinuousDumpThread(main,
                                                                     [&] { return ring(main); });
             }},
            {"collect",
             [this](Line l) {
                 collectLog(static_cast<uint32_t>(l.number(2)), inFolder(l, "/data/F"));
             }},
            {"native-trace", [this](Line l) { dumpNativeSystraceWithThread(*running(l).event); }},
            {"pack-stacks",
             [this](Line l) { packAnrStacktrace(4711, inFolder(l)->folder()->path(), 2, 0); }},
            {"pack", [this](Line l) { trailLogPack(inFolder(l), 0); }},
            {"pack-commercial",
             [this](Line l) {
                 const CatchRef& main = inFolder(l);
                 commercialLogPack(main, ring(main));
             }},
            {"pack-xlog", [](Line line) { packXlogForWeChat(line.rest(1)); }},
            {"xlog-size",
             [this](Line l) { mSays = std::to_string(totalXlogSize(l.rest(1))) + " bytes\n"; }},
            {"pack-nwatchcall",
             [](Line line) { packNwatchcallLog(true, line.rest(1), "hang warning"); }},
            {"nwatchcall",
             [](Line l) {
                 if (l.rest(1) == "/data/F") fs::create_directories(l.rest(1));
                 packNwatchcallLog(copyNwatchcallLog(l.rest(1)), l.rest(1), "hang warning");
             }},
    };
    std::unique_ptr<DumpBench> mBench;
    std::map<int, CatchRef> mCatches;
    std::map<std::string, LogFolderRef> mFolders;
    std::vector<EventRef> mRing;
    /** A command that begins with a text and ends with a status, though it may be done. */
    struct Failure {
        std::string start;
        int status;
        bool isDone;
    };
    std::vector<Failure> mFailures;
    std::string mLateWriter;
    bool mCutsArchives = false;
    std::string mSays;
};

class Script : public testing::TestWithParam<std::string> {};

// Would catch any change of what a catch runs, says, asks for and waits for, or of the order in
// which it does; a limit that is off by one; a step for a record that is gone or without a folder.
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
