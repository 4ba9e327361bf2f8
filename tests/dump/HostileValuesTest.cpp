// Would catch a value from outside that reaches a shell as anything but itself, whichever command
// carries it: the files must hold it literally, and the tools must be given it literally.

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include <android-base/strings.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogFolderName.h"
#include "dump/LogPath.h"
#include "dump/TrailLogPack.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;
using testing::HasSubstr;

/**
 * Texts that a careless command would run, expand or split. Each tries to leave a file CANARY in
 * the working directory. None holds a "/", so that each can name a folder too.
 */
const std::vector<std::string> kHostileValues = base::Split(
        R"(a;touch CANARY;b@$(touch CANARY)@`touch CANARY`@a&&touch CANARY||touch CANARY&@)"
        R"(a|touch CANARY #@x>CANARY@'; >CANARY; '@"; >CANARY; "@\'; >CANARY; \'@*@?[a-z]*@~@-rf@-n@)"
        R"($HOME ${PATH} $((1+1)) $'\n'@{a,b} {1..3}@a\nb\c\\d\0101\@ two  blanks @#!@)"
        "x\n>CANARY\ntouch CANARY\n@\xE5\xBA\x94\xE7\x94\xA8\xEF\xBC\x8C\xFF@",
        "@");

/** What a tool is: it notes its words; touch leaves a canary, tar keeps the folder in $KEPT. */
constexpr const char* kTool = R"(#!/bin/sh
line=${0##*/}
for word; do line="$line [$word]"; done
printf '%s\n' "$line" >>"$NOTES"
case ${0##*/} in
touch) >CANARY ;;
tar) printf '%020d\000\002\000\000' 0 >"$2"; /bin/cp -r "${2%.tar.gz}" "$KEPT" ;;
esac
)";

/** An empty working directory, a folder beside it, and a PATH of tools that only take notes. */
class Workplace {
  public:
    explicit Workplace(const std::string& folderName) : folder(mTop / ("logs/" + folderName)) {
        fs::create_directories(mTop / "empty");
        fs::create_directories(mTop / "tools");
        fs::create_directories(folder);
        for (const char* tool :
             {"tar", "mv", "rm", "mkdir", "cp", "find", "chown", "touch", "logcat", "xargs"}) {
            fs::permissions(mTop.write(std::string("tools/") + tool, kTool), fs::perms::owner_all);
        }
    }

    /** Runs the real /bin/sh, its own complaints discarded; the wait status. Any thread. */
    int run(const std::string& command) {
        const std::string top = mTop / "";
        const std::string script = mTop.write("script" + std::to_string(++mScripts), command);
        return system(("cd " + top + "empty && NOTES=" + top + "notes KEPT=" + kept() +
                       " PATH=" + top + "tools /bin/sh " + script + " 2>/dev/null")
                              .c_str());
    }
    /** Where tar puts a copy of the folder, which is gone once it is packed. */
    std::string kept() const { return mTop / "kept"; }
    std::string notes() const { return test::contentOf(mTop / "notes"); }
    bool hasStray() const { return !fs::is_empty(mTop / "empty"); }

  private:
    const test::TempDir mTop;
    std::atomic<int> mScripts{0};

  public:
    const std::string folder;
};

class HostileValue : public testing::TestWithParam<std::string> {};

TEST_P(HostileValue, StaysItself) {
    const std::string& value = GetParam();
    Workplace place(value.empty() ? "F" : value);
    const std::string& folder = place.folder;
    DumpBench bench([&](const std::string& command) { return place.run(command); });
    EventParameters& parameters = bench.context().parameters;
    parameters.setEventIdMap(0, 0x5, value);
    parameters.setTimeWindow(0x5, 10'000);
    const KavelExtraInfo extra = {value, value, value};
    const CatchRef running = bench.add(0x5, 0x0DFFFFFF, extra, DumpBench::kRecordId, folder);

    KavelDumpUtilThread::immediateDumpThread(running, nullptr);
    const KavelEvent other(0x101, &running->event->timestamp, 0, 1, 0, &running->event->extraInfo);
    packTargetBacktrace(other, folder);
    packAnrStacktrace(other, folder, 2);
    packNativeTombstones(folder);
    KavelDumpUtilThread::trailContinuousDumpThread(running);
    const std::string own = buildLogPathFolderName(parameters, running->event.get());
    bench.settle();

    EXPECT_TRUE(isLogFolderName(fs::path(own).filename().string()));
    EXPECT_FALSE(place.hasStray()) << "CANARY in the working directory";
    EXPECT_EQ(test::contentOf(place.kept() + "/kavel_history.txt"),
              "EventType:" + value +
                      ",Timestamp:2024-03-07-09-05-02-007,loginfo:dffffff,eventID:77\n");
    EXPECT_EQ(test::contentOf(place.kept() + "/extraInfo.txt"),
              "[PackageName]:" + value + "\n[PackageVersion]:" + value + "\n[eventType]:" + value +
                      "\n");
    // 31 logs, four of them twice, the two files above and the events file.
    EXPECT_EQ(std::distance(fs::directory_iterator(place.kept()), {}), 38);
    EXPECT_FALSE(fs::exists(folder));

    const std::string notes = place.notes();
    for (const std::string& call : {
                 "mv [/data/anr/kavel_NoFocusWindow*] [" + folder + "/]\n",
                 "find [/data/anr/] [-name] [*_1_*] [-exec] [cp] [{}] [" + folder + "/] [;]\n",
                 "find [/data/anr/] [-name] [*kavel_DumpTraces_4711_*] [-exec] [mv] [{}] [" +
                         folder + "/] [;]\n",
                 "cp [/data/tombstones/] [" + folder + "]\n",
                 "tar [czf] [" + folder + ".tar.gz] [" + folder + "/android-2024",
                 "chown [system:system] [" + folder + ".tar.gz]\n",
                 "mv [" + folder + ".tar.gz] [/data/persist_log/PLX/de/kavel]\n",
                 "rm [-rf] [" + folder + "]\n",
                 "mkdir [" + own + "]\n",
         }) {
        EXPECT_THAT(notes, HasSubstr(call));
    }
    EXPECT_THAT(notes, testing::Not(HasSubstr("touch [")));
}

INSTANTIATE_TEST_SUITE_P(All, HostileValue, testing::ValuesIn(kHostileValues));

}  // namespace
}  // namespace android::kavel
