#include "tests/dump/HostileValues.h"

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogPath.h"
#include "dump/TrailLogPack.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;
using testing::HasSubstr;

/** Runs the real /bin/sh, its own complaints discarded; the wait status. Any thread. */
int runRealShell(std::string script, std::string directory, std::string path, std::string notes,
                 std::string kept) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string start = "cd \"$1\" && exec /bin/sh -c \"$0\"";
    char* words[] = {shell.data(),  option.data(),    start.data(),
                     script.data(), directory.data(), nullptr};
    char* environment[] = {path.data(), notes.data(), kept.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    int status = -1;
    if (posix_spawn(&pid, "/bin/sh", &actions, nullptr, words, environment) == 0) {
        waitpid(pid, &status, 0);
    }
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

/** An empty working directory, a folder beside it, and a PATH of tools that only take notes. */
class Workplace {
  public:
    explicit Workplace(const std::string& folderName) : folder(mTop / ("logs/" + folderName)) {
        fs::create_directories(mTop / "empty");
        fs::create_directories(mTop / "tools");
        fs::create_directories(folder);
        for (const char* tool :
             {"tar", "mv", "rm", "mkdir", "cp", "find", "chown", "touch", "logcat", "xargs"}) {
            const std::string path = mTop / "tools/" + tool;
            std::ofstream(path) << "#!/bin/sh\n"
                                   "line=${0##*/}\n"
                                   "for word; do line=\"$line [$word]\"; done\n"
                                   "printf '%s\\n' \"$line\" >>\"$NOTES\"\n"
                                   "case ${0##*/} in\n"
                                   "touch) >CANARY ;;\n"
                                   "tar) printf '%020d\\000\\002\\000\\000' 0 >\"$2\"; /bin/cp -r "
                                   "\"${2%.tar.gz}\" \"$KEPT\" ;;\n"
                                   "esac\n";
            fs::permissions(path, fs::perms::owner_all);
        }
    }

    int run(const std::string& command) const {
        return runRealShell(command, mTop / "empty", "PATH=" + (mTop / "tools"),
                            "NOTES=" + (mTop / "notes"), "KEPT=" + kept());
    }
    /** Where tar puts a copy of the folder, which is gone once it is packed. */
    std::string kept() const { return mTop / "kept"; }
    std::string notes() const { return test::contentOf(mTop / "notes"); }
    size_t canaries() const {
        const fs::recursive_directory_iterator everything(mTop / "");
        return static_cast<size_t>(std::count_if(begin(everything), end(everything),
                                                 [](const fs::directory_entry& entry) {
                                                     return entry.path().filename() == "CANARY";
                                                 }));
    }
    size_t strays() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(mTop / "empty"), {}));
    }

  private:
    test::TempDir mTop;

  public:
    const std::string folder;
};

class HostileValue : public testing::TestWithParam<std::string> {};

// Would catch a value from outside that reaches a shell as anything but itself, whichever command
// carries it: the files must hold it literally, and the tools must be given it literally.
TEST_P(HostileValue, StaysItself) {
    const std::string& value = GetParam();
    const Workplace place(value.empty() ? "F" : value);
    const std::string& folder = place.folder;
    DumpBench bench([&](const std::string& command) { return place.run(command); });
    EventParameters& parameters = bench.context().parameters;
    parameters.setEventIdMap(0, 0x5, value);
    parameters.setTimeWindow(0x5, 10'000);
    const CatchRef running =
            bench.add(0x5, 0x0DFFFFFF, {value, value, value}, DumpBench::kRecordId, folder);

    KavelDumpUtilThread::immediateDumpThread(running, nullptr);
    packTargetBacktrace(folder, 0x101);
    packAnrStacktrace(1, folder, 2, 0);
    packNativeTombstones(folder);
    KavelDumpUtilThread::trailContinuousDumpThread(running);
    const std::string own = buildLogPathFolderName(parameters, running->event.get());
    bench.settle();

    EXPECT_EQ(place.canaries(), 0U);
    EXPECT_EQ(place.strays(), 0U) << "a file in the working directory";
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

INSTANTIATE_TEST_SUITE_P(All, HostileValue, testing::ValuesIn(test::kHostileValues));

}  // namespace
}  // namespace android::kavel
