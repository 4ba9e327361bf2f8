// Windows with late joiners, a slow tool, and a daemon that is killed again and again. Would catch
// a complete archive that is replaced, a log folder that is left, and a lost report, except those
// that came just before a kill.

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <thread>

#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

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
/** A report that comes within this time before a kill may be lost. */
constexpr milliseconds kMayDie(300);

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
    size_t count() const { return mComplete.size(); }

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
    bool await(const std::string& text) {
        const auto end = Clock::now() + std::chrono::minutes(1);
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

void configure() {
    ASSERT_TRUE(daemonIsUp());
    configureEvent("0x1", {"--name", "storm", "--window", "20000"});
}

TEST(StormTest, NoArchiveIsReplacedAndNoReportIsLost) {
    fs::remove(kSlowFile);
    ASSERT_EQ(mkfifo(kSlowFile, 0666), 0);
    const Repeated slowFile(feedSlowFile);
    configure();

    std::map<std::string, Clock::time_point> sent;
    std::vector<Clock::time_point> kills;
    Archives found;
    int life = 0;
    for (const std::string phase : kPhases) {
        const auto end = Clock::now() + milliseconds(2500);
        for (int i = 0; Clock::now() < end; ++i) {
            const std::string process = std::to_string(life) + "." + std::to_string(i) + ".app";
            if (report(process)) sent[process] = Clock::now();
            found.look();
            std::this_thread::sleep_for(milliseconds(40));
        }
        int pid = daemonPid();
        NewText log;
        if (phase == kPackAtStart) {
            ASSERT_EQ(kill(pid, SIGKILL), 0);
            kills.push_back(Clock::now());
            ASSERT_TRUE(eventually([&] { return daemonPid() != pid && daemonPid() != 0; }));
            pid = daemonPid();
        }
        ASSERT_TRUE(phase.empty() || log.await(phase)) << phase;
        ASSERT_EQ(kill(pid, SIGKILL), 0);
        kills.push_back(Clock::now());
        ASSERT_TRUE(eventually([&] {
            found.look();
            const int now = daemonPid();
            return now != pid && now != 0;
        }));
        configure();
        ++life;
    }
    EXPECT_TRUE(eventually([] { return stagedFolders("").empty(); }));
    for (const std::string& left : stagedFolders("")) ADD_FAILURE() << left;
    found.look();
    EXPECT_GT(found.count(), std::size(kPhases));

    const std::string events = found.events();
    for (const auto& [process, time] : sent) {
        if (events.find("\"" + process + "\"") != std::string::npos) continue;
        const auto mayDie = [moment = time](Clock::time_point death) {
            return moment <= death && death - moment < kMayDie;
        };
        EXPECT_TRUE(std::any_of(kills.begin(), kills.end(), mayDie)) << process << " is lost";
    }
}

}  // namespace
}  // namespace android::kavel::test
