// Compares a catch and its pack, without the waits, with a shell script of the same commands, and
// with one that collects by xargs. Also measures the share of tar. Runs in the simulated phone:
// catch_bench CATCHES.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "dump/DumpContext.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogCollector.h"
#include "dump/LogPath.h"
#include "event/KavelTimestamp.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int64_t kEvent = 0x999;      // collects only the logs of its mask
constexpr uint32_t kMask = 0x1bebf9b;  // as in the demo: quick commands, and all bits are confirmed
constexpr const char* kScript = "/data/local/catch_bench.sh";
constexpr const char* kCollecting = "/data/local/catch_bench.commands";
// As many at a time as the pool has threads.
constexpr const char* kCollectInParallel = "xargs -0 -n1 -P5 sh -c < ";

LogFolderRef sFolder;  // of the catch that runs

/** Replaces a wait: returns as soon as the commands have ended. */
void awaitCommands(uint64_t /*seconds*/) {
    while (!sFolder->openWork().empty()) {
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

/** Runs a catch and stores the path of its log folder. */
Seconds timeCatch(DumpContext& context, int id, std::string* folder) {
    const KavelTimestamp now = generateKavelTimestamp();
    const KavelExtraInfo extra;
    const auto event =
            std::make_shared<KavelEvent>(kEvent, &now, static_cast<int>(kMask), 1, 1000, &extra);
    event->kavelEventId = id;
    *folder = buildLogPathFolderName(context.parameters, event.get());
    fake::clearLog();

    const Clock::time_point start = Clock::now();
    const CatchRef running = context.catches.add(event);
    sFolder = std::make_shared<LogFolder>(*folder);
    running->setFolder(sFolder);
    KavelDumpUtilThread::immediateDumpThread(running, sFolder->beginWork(kFirstRound));
    KavelDumpUtilThread::trailContinuousDumpThread(running);
    return Clock::now() - start;
}

using Commands = std::vector<std::string>;

/** Returns those commands of the last catch whose log lines start with @p prefixes. */
Commands commandsOf(const std::vector<std::string>& prefixes) {
    Commands commands;
    for (const fake::LogLine& line : fake::logLines()) {
        for (const std::string& prefix : prefixes) {
            if (line.text.rfind("[dravo_kavel " + prefix, 0) != 0) continue;
            const size_t begin = line.text.find("]: ") + 3;
            commands.push_back(line.text.substr(begin, line.text.find(", ret is:") - begin));
        }
    }
    return commands;
}

/** Writes all commands to the file, each with @p end after it. */
void writeCommands(const char* path, const std::vector<Commands>& parts, char end) {
    std::ofstream file(path);
    for (const Commands& part : parts) {
        for (const std::string& command : part) file << command << end;
    }
}

double timeScript(const std::vector<Commands>& parts) {
    writeCommands(kScript, parts, '\n');
    const Clock::time_point start = Clock::now();
    if (system((std::string("sh ") + kScript + " > /dev/null 2>&1").c_str()) != 0) abort();
    return Seconds(Clock::now() - start).count();
}

void print(const char* name, const std::vector<double>& values) {
    printf("measure %s", name);
    for (const double value : values) printf(" %g", value);
    printf("\n");
}

void run(int catches) {
    fake::captureLog();
    fake::onSleep(awaitCommands);
    fake::resetTime(1'700'000'000'000'000);
    EventParameters parameters;
    parameters.setTimeWindow(kEvent, 1);
    DumpContext context(parameters);
    std::vector<double> ours;
    std::vector<double> scripts;
    std::vector<double> parallels;
    std::vector<double> tars;
    for (int i = 0; i < catches; ++i) {
        std::string folder;
        ours.push_back(timeCatch(context, i + 1, &folder).count());
        const Commands collect = commandsOf({"collectLogWithCmdExeceteThread]: "});
        const Commands pack = commandsOf({"trailLogPack]: tar "});
        const Commands finish = commandsOf({"trailLogPack]: mv ", "trailLogPack]: rm "});

        std::filesystem::create_directories(folder);
        timeScript({collect});
        tars.push_back(timeScript({pack}));
        timeScript({finish});
        std::filesystem::create_directories(folder);
        scripts.push_back(timeScript({collect, pack, finish}));
        std::filesystem::create_directories(folder);
        writeCommands(kCollecting, {collect}, '\0');
        parallels.push_back(
                timeScript({{std::string(kCollectInParallel) + kCollecting}, pack, finish}));
    }
    print("catch", ours);
    print("script", scripts);
    print("parallel", parallels);
    print("tar", tars);
}

}  // namespace

}  // namespace android::kavel

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    android::kavel::run(atoi(argv[1]));
    return 0;
}
