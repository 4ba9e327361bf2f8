// Scripts of catches: golden/*.txt. Run where /data is empty and its own: see CMakeLists.txt.

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "dump/KavelDumpUtilThread.h"
#include "handler/Nwatchcall.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/FakeCaptures.h"
#include "tests/dump/Folded.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/Script.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using base::StringPrintf;
using test::DumpBench;
using Dump = KavelDumpUtilThread;

/** A line of a script: its verb, and what follows that. */
struct Line {
    explicit Line(const std::string& text) : words(base::Split(text, " ")) {
        const size_t first = text.find(' ');
        rest = first == std::string::npos ? "" : text.substr(first + 1);
    }

    std::string word(size_t i) const { return i < words.size() ? words[i] : ""; }
    int64_t number(size_t i) const { return std::stoll(words.at(i), nullptr, 0); }
    int record() const { return static_cast<int>(number(1)); }
    /** What follows the first word of the rest, blanks and all. */
    std::string path() const { return rest.substr(rest.find(' ') + 1); }
    std::string option(const std::string& name) const {
        for (const std::string& each : words) {
            if (each.rfind(name + "=", 0) == 0) return each.substr(name.size() + 1);
        }
        return "";
    }

    std::vector<std::string> words;
    std::string rest;
};

/** What a script's lines do: one handler a verb. */
class Phone {
  public:
    ~Phone() { DumpBench::sRing = nullptr; }

    std::string follow(const std::string& text) {
        const Line line(text);
        const auto verb = kVerbs.find(line.words[0]);
        if (verb == kVerbs.end()) return "no such verb";
        mSays.clear();
        (this->*verb->second)(line);
        return test::folded(sorted(mBench->takeTranscript())) + mSays;
    }

  private:
    using Verb = void (Phone::*)(const Line&);
    static const std::map<std::string, Verb> kVerbs;

    /** An empty phone: no files, no framework. */
    void fresh(const Line& /*line*/) {
        mCatches.clear();
        mBench = nullptr;
        for (const fs::directory_entry& entry : fs::directory_iterator("/data")) {
            fs::remove_all(entry.path());
        }
        fake::setFramework({FrameworkReply::Outcome::NoService, OK, 0});
        fake::setSignals(true);
        mCommandsFail = false;
        mRing.clear();
        mBench = std::make_unique<DumpBench>([this](const std::string& command) {
            // Directories are the one thing that commands really make.
            if (command.rfind("mkdir ", 0) == 0) {
                fs::create_directories(command.substr(6, command.size() - 7));
            }
            return mCommandsFail ? 256 : 0;
        });
        DumpBench::sRing = [this](const EventRef& main) {
            std::vector<EventRef> ring = {main};
            ring.insert(ring.end(), mRing.begin(), mRing.end());
            return ring;
        };
    }

    // Files: how many bytes or, for a trace, how many seconds after the event it was written.
    void file(const Line& line) {
        fs::create_directories(fs::path(line.path()).parent_path());
        test::makeFile(line.path(), static_cast<uintmax_t>(line.number(1)));
    }
    void trace(const Line& line) {
        fs::create_directories(fs::path(line.path()).parent_path());
        test::makeFile(line.path());
        const timespec time = {DumpBench::kStartUs / 1'000'000 + line.number(1), 0};
        const timespec times[] = {time, time};
        EXPECT_EQ(utimensat(AT_FDCWD, line.path().c_str(), times, 0), 0);
    }
    void link(const Line& line) { fs::create_symlink(line.word(1), line.path()); }
    void folder(const Line& line) { fs::create_directories(line.rest); }
    void remove(const Line& line) { fs::remove_all(line.rest); }

    // The world.
    void framework(const Line& line) {
        const std::map<std::string, FrameworkReply::Outcome> outcomes = {
                {"answers", FrameworkReply::Outcome::Answered},
                {"late", FrameworkReply::Outcome::Late},
                {"busy", FrameworkReply::Outcome::Busy}};
        fake::setFramework({outcomes.at(line.word(1)), static_cast<status_t>(line.number(2)),
                            static_cast<int32_t>(line.number(3))});
    }
    void signalsFail(const Line& /*line*/) { fake::setSignals(false); }
    void commandsFail(const Line& /*line*/) { mCommandsFail = true; }
    void set(const Line& line) { base::SetProperty(line.word(1), line.word(2)); }
    void window(const Line& line) {
        context().parameters.setTimeWindow(line.number(1), line.number(2));
    }
    void name(const Line& line) {
        context().parameters.setEventIdMap(0, line.number(1), line.path());
    }
    void xlogWanted(const Line& /*line*/) { context().xlogRequested = true; }
    void at(const Line& line) { fake::resetTime(DumpBench::kStartUs + line.number(1)); }
    void advance(const Line& line) { fake::advance(line.number(1)); }

    // Events, by the ids of their records.
    void event(const Line& line) {
        context().combinedDumpRunning = true;
        mCatches[line.record()] =
                mBench->add(line.number(2), static_cast<uint32_t>(line.number(3)),
                            {line.option("process"), line.option("version"), line.option("type")},
                            line.record());
    }
    void commercialEvent(const Line& line) {
        event(line);
        mCatches[line.record()]->commercial.begin();
        mCatches[line.record()]->commercial.setLogInfo(static_cast<int32_t>(line.number(3)));
    }
    void release(const Line& line) {
        mCatches.erase(line.record());
        mSays = StringPrintf("catches %zu\n", context().catches.size());
    }
    void ring(const Line& line) {
        mRing.clear();
        for (size_t i = 1; i < line.words.size(); ++i) {
            mRing.push_back(mCatches.at(static_cast<int>(line.number(i)))->event);
        }
    }
    void collected(const Line& line) {
        mCatches.at(line.record())->event->collected |= static_cast<uint32_t>(line.number(2));
    }
    void claim(const Line& line) {
        const bool isKept = context().technical.claim(mCatches.at(line.record())->event) != nullptr;
        mSays = isKept ? "kept\n" : "not kept\n";
    }
    void state(const Line& line) {
        mBench->settle();
        mSays = StringPrintf("collected 0x%x, %s; captures 0x%x; window %s; xlog %s\n",
                             mCatches.at(line.record())->event->collected.load(),
                             Dump::verifyLogIntegrity(line.record()) ? "complete" : "incomplete",
                             context().captures.mask(),
                             context().combinedDumpRunning ? "open" : "closed",
                             context().xlogRequested ? "wanted" : "not wanted");
    }

    // What the daemon does.
    void immediate(const Line& line) {
        Dump::immediateDumpThread(logInfo(line), line.record(), line.word(2));
    }
    void continuous(const Line& line) {
        Dump::trailContinuousDumpThread(logInfo(line), line.record(), line.word(2));
    }
    void conclude(const Line& line) {
        Dump::commercialContinuousDumpThread(line.record(), line.word(2));
    }
    void collect(const Line& line) {
        Dump::collectLog(static_cast<int>(line.number(2)), "/data/F", line.record());
    }
    void pack(const Line& line) { Dump::trailLogPack(line.record(), line.word(2), 0); }
    void packCommercial(const Line& line) {
        Dump::commercialLogPack(line.record(), line.word(2), "");
    }
    void history(const Line& line) { Dump::generateKavelHistoryLog(line.record(), line.word(2)); }
    void packXlog(const Line& line) { Dump::packXlogForWeChat(line.rest); }
    void xlogSize(const Line& line) {
        mSays = std::to_string(Dump::totalXlogSize(line.rest)) + " bytes\n";
    }
    void nwatchcall(const Line& line) {
        packNwatchcallLog(copyNwatchcallLog(line.rest), line.rest);
    }

    static DumpContext& context() { return dumpContext(); }
    int logInfo(const Line& line) const {
        const auto found = mCatches.find(line.record());
        return found == mCatches.end() ? 3 : found->second->event->logInfo;
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

    std::unique_ptr<DumpBench> mBench;
    std::map<int, CatchRef> mCatches;
    std::vector<EventRef> mRing;
    bool mCommandsFail = false;
    std::string mSays;
};

const std::map<std::string, Phone::Verb> Phone::kVerbs = {
        {"fresh", &Phone::fresh},
        {"file", &Phone::file},
        {"trace", &Phone::trace},
        {"link", &Phone::link},
        {"folder", &Phone::folder},
        {"remove", &Phone::remove},
        {"framework", &Phone::framework},
        {"signals-fail", &Phone::signalsFail},
        {"commands-fail", &Phone::commandsFail},
        {"set", &Phone::set},
        {"window", &Phone::window},
        {"name", &Phone::name},
        {"xlog-wanted", &Phone::xlogWanted},
        {"at", &Phone::at},
        {"advance", &Phone::advance},
        {"event", &Phone::event},
        {"commercial-event", &Phone::commercialEvent},
        {"release", &Phone::release},
        {"ring", &Phone::ring},
        {"collected", &Phone::collected},
        {"claim", &Phone::claim},
        {"state", &Phone::state},
        {"immediate", &Phone::immediate},
        {"continuous", &Phone::continuous},
        {"conclude", &Phone::conclude},
        {"collect", &Phone::collect},
        {"pack", &Phone::pack},
        {"pack-commercial", &Phone::packCommercial},
        {"history", &Phone::history},
        {"pack-xlog", &Phone::packXlog},
        {"xlog-size", &Phone::xlogSize},
        {"nwatchcall", &Phone::nwatchcall},
};

class Script : public testing::TestWithParam<std::string> {};

// Would catch any change of what a catch runs, says, asks for and waits for, or of the order in
// which it does; a limit that is off by one; a step for a record that is gone or without a folder.
TEST_P(Script, LeadsToWhatItSays) {
    Phone phone;
    test::expectScript(KAVEL_GOLDEN_DIR "/" + GetParam() + ".txt",
                       [&](const std::string& line) { return phone.follow(line); });
}

INSTANTIATE_TEST_SUITE_P(Golden, Script,
                         testing::Values("collect", "commercial", "files", "traces", "trail"),
                         [](const auto& script) { return script.param; });

}  // namespace
}  // namespace android::kavel
