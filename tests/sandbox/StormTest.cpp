// Windows with late joiners, a slow tool, and a daemon that is killed again and again. Would catch
// a complete archive that is replaced, a log folder that is left, a report that is not on disk a
// second later, and one that is lost although it was on disk.

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <thread>

#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "dump/EventLine.h"
#include "dump/LogFolderName.h"
#include "event/IKavelBinder.h"
#include "tests/fake/TempDir.h"
#include "tests/sandbox/PhoneSession.h"

namespace fs = std::filesystem;

namespace android::kavel::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kSlowFile = "/data/system/packages.xml";
constexpr int64_t kStormEvent = 0x1;
constexpr uint32_t kMask = 0xA0002;  // kernel log, properties, and the file above
/** Within this time a report is on disk: one that comes later before a kill may be lost. */
constexpr milliseconds kOnDisk(1000);

/** Repeats @p step on its own thread until the end of the scope. */
class Repeated {
  public:
    explicit Repeated(std::function<void()> step)
          : mThread([this, step = std::move(step)] {
                while (!mIsOver) step();
            }) {}
    ~Repeated() {
        mIsOver = true;
        mThread.join();
    }

  private:
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

/** Feeds the file slowly, so that the command that reads it is slow. */
void feedSlowFile() {
    std::this_thread::sleep_for(milliseconds(250));
    const int fd = open(kSlowFile, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;  // no command reads it
    static_cast<void>(!write(fd, "x\n", 2));
    close(fd);
}

/** The contents of each archive when it was first complete. */
class Archives {
  public:
    void look() {
        for (const std::string& name : archives("kavel_storm_")) {
            const fs::path path = fs::path(kArchiveDirectory) / name;
            const std::string content = contentOf(path);
            const auto known = mComplete.find(name);
            if (known != mComplete.end()) {
                EXPECT_TRUE(known->second == content) << name << " has been replaced";
            } else if (tools::readArchive(path, UINT64_MAX).broken.empty()) {
                mComplete[name] = content;
            }
        }
    }
    /** The text of all events files. */
    std::string events() const {
        std::string all;
        for (const auto& [name, content] : mComplete) {
            all += tools::readArchive(fs::path(kArchiveDirectory) / name, UINT64_MAX).events;
        }
        return all;
    }

  private:
    std::map<std::string, std::string> mComplete;
};

bool report(const std::string& process) {
    const sp<IKavelBinder> service = IKavelBinder::asInterface(
            defaultServiceManager()->checkService(String16(KAVEL_BINDER_SERVICE_NAME)));
    if (service == nullptr) return false;
    service->sendFrameworkEvent(kStormEvent, 0, kMask, 1, 1, String16(process.c_str()));
    return true;
}

/** At this line a start packs the log folders that the previous daemon left. */
constexpr const char* kPackAtStart = "packLeftoverFolders]: tar czf ";

/** Log lines at which the daemon is killed, one in each round; empty: at any time. */
constexpr const char* kPhases[] = {"", "trailLogPack]: tar czf ", "trailLogPack]: mv ",
                                   "trailLogPack]: rm -rf ", kPackAtStart};

/** The text of the log from now on. */
class NewText {
  public:
    NewText() { mLog.seekg(0, std::ios::end); }
    /** Waits for @p text. Polls without a pause, because the phase takes only milliseconds. */
    bool await(const std::string& text, std::chrono::seconds most) {
        const auto end = Clock::now() + most;
        // A read may end anywhere in a line that is being written.
        for (std::string seen; Clock::now() < end; seen.erase(0, seen.size() - text.size())) {
            char part[4096];
            mLog.read(part, sizeof(part));
            seen.append(part, static_cast<size_t>(mLog.gcount()));
            mLog.clear();
            if (seen.find(text) != std::string::npos) return true;
            if (seen.size() < text.size()) seen.insert(0, text.size() - seen.size(), '\n');
        }
        return false;
    }

  private:
    std::ifstream mLog{"/dev/log/main"};
};

/** The text of the events files in the staging directory. */
std::string stagedEvents() {
    std::string all;
    for (const std::string& folder : stagedFolders("kavel_storm_")) {
        all += contentOf(fs::path(kLogFolderRoot) / folder / kEventsFile);
    }
    return all;
}

bool names(const std::string& events, const std::string& process) {
    return events.find("\"" + process + "\"") != std::string::npos;
}

/** Kills a daemon that is stopped, or runs. Waits for the next one. */
void killDaemon(int pid, Archives& found) {
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    ASSERT_TRUE(eventually([&] {
        found.look();
        const int now = daemonPid();
        return now != pid && now != 0;
    }));
}

/**
 * Reports again and again until the daemon is killed, in @p phase. Adds to @p onDisk what was on
 * disk then. Returns false if that does not say enough, as the machine was busy: an older report
 * was not on disk yet, or there was nothing to pack at the start.
 */
bool oneLife(const std::string& phase, Archives& found, std::set<std::string>& onDisk) {
    static int life = 0;
    ++life;
    const bool diesAtStart = phase == kPackAtStart;
    std::map<std::string, Clock::time_point> sent;
    Clock::time_point death;
    std::string events;
    std::optional<NewText> atStart;
    {
        const Repeated reporter([&, i = 0]() mutable {
            const std::string process = std::to_string(life) + "." + std::to_string(i++) + ".app";
            if (report(process)) sent[process] = Clock::now();
            std::this_thread::sleep_for(milliseconds(40));
        });
        for (const auto end = Clock::now() + milliseconds(1700); Clock::now() < end; found.look()) {
            std::this_thread::sleep_for(milliseconds(40));
        }
        const int pid = daemonPid();
        NewText log;
        EXPECT_TRUE(phase.empty() || diesAtStart || log.await(phase, std::chrono::minutes(3)));
        EXPECT_EQ(kill(pid, SIGSTOP), 0);  // the phase lasts until all is read
        death = Clock::now();
        // A folder is removed when its archive is complete: read in this order, nothing is missed.
        events = stagedEvents();
        found.look();
        events += found.events();
        atStart.emplace();
        killDaemon(pid, found);
    }
    if (diesAtStart) {
        const int pid = daemonPid();
        if (!atStart->await(kPackAtStart, std::chrono::seconds(20))) return false;
        killDaemon(pid, found);
    }
    bool isInTime = true;
    for (const auto& [process, time] : sent) {
        if (names(events, process)) {
            onDisk.insert(process);
        } else if (death - time > kOnDisk) {
            printf("%s was not on disk\n", process.c_str());
            isInTime = false;
        }
    }
    return isInTime;
}

TEST(StormTest, NoArchiveIsReplacedAndNoReportIsLost) {
    fs::remove(kSlowFile);
    ASSERT_EQ(mkfifo(kSlowFile, 0666), 0);
    const Repeated slowFile(feedSlowFile);
    std::set<std::string> onDisk;
    Archives found;
    for (const char* const phase : kPhases) {
        bool isDone = false;
        for (int attempt = 0; attempt < 5 && !isDone; ++attempt) {
            ASSERT_TRUE(daemonIsUp());
            configureEvent("0x1", {"--name", "storm", "--window", "40000"});
            isDone = oneLife(phase, found, onDisk);
        }
        EXPECT_TRUE(isDone) << phase;
    }
    EXPECT_TRUE(eventually([] { return stagedFolders("").empty(); }));
    for (const std::string& left : stagedFolders("")) ADD_FAILURE() << left;
    found.look();
    EXPECT_GT(onDisk.size(), 50U);
    const std::string events = found.events();
    for (const std::string& process : onDisk) {
        EXPECT_TRUE(names(events, process)) << process << " is lost";
    }
}

}  // namespace
}  // namespace android::kavel::test
