// Sends reports, catches and kernel packets to soak_daemon, and measures whether it stays the same.
// Runs in the simulated phone: soak_load SOAK_DAEMON REPORTS. There is a packet for each 10 reports
// and a catch for each 500.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <linux/netlink.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bench/BinderPool.h"
#include "bench/SoakCounters.h"
#include "tests/core/Messages.h"
#include "tools/CommandLine.h"
#include "tools/DaemonClient.h"

namespace fs = std::filesystem;

namespace android::kavel::bench {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr uint64_t kReportsPerPacket = 10;
constexpr uint64_t kReportsPerCatch = 500;
constexpr uint64_t kSamples = 40;
constexpr int64_t kWithoutLogs = 0x402;
constexpr int64_t kCaught = 0x1;
constexpr int32_t kMask = 0xA0002;  // kernel log, properties and a file
constexpr size_t kMaxCatches = 16;  // at once
constexpr const char* kStaging = "/data/persist_log/kavel30";
constexpr const char* kArchives = "/data/persist_log/PLX/de/kavel";

size_t entriesOf(const std::string& folder) {
    const fs::directory_iterator entries(folder);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

/** Waits up to two minutes for a condition of another process. Returns whether it came true. */
template <typename Condition>
bool comesTrue(const Condition& condition) {
    const auto end = Clock::now() + std::chrono::minutes(2);
    while (!condition()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

/** Waits for a condition without which the soak cannot go on. */
template <typename Condition>
void await(const char* what, const Condition& condition) {
    if (comesTrue(condition)) return;
    fprintf(stderr, "soak_load: no %s\n", what);
    exit(1);
}

/** Repeats a call that the daemon refuses because its queue is full, or because it just starts. */
template <typename Call>
void insist(const Call& call) {
    await("answer of the daemon", [&] {
        try {
            call();
            return true;
        } catch (const tools::CommandError&) {
            return false;
        }
    });
}

struct Sample {
    double rss, threads, descriptors, rate;
};

class Soak {
  public:
    explicit Soak(std::string daemon, uint64_t reports)
          : mDaemon(std::move(daemon)),
            mReports(reports),
            mPackets(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK)) {}

    void run() {
        start();
        auto last = Clock::now();
        const uint64_t step = mReports / kSamples;
        for (uint64_t i = 1; i <= mReports; ++i) {
            insist([] { tools::sendReport({kWithoutLogs, 0, 1, 1, ""}); });
            if (i % kReportsPerPacket == 0) sendPacket();
            if (i % kReportsPerCatch == 0) startCatch();
            if (i % step != 0) continue;
            const std::chrono::duration<double> taken = Clock::now() - last;
            // The threads of catches are not part of what has to stay the same.
            comesTrue([this] { return entriesOf(kArchives) == mCatches; });
            sample(static_cast<double>(step) / taken.count());
            last = Clock::now();
        }
        print();
        kill(mPid, SIGKILL);
    }

  private:
    void start() {
        char* const arguments[] = {mDaemon.data(), nullptr};
        if (posix_spawn(&mPid, mDaemon.c_str(), nullptr, nullptr, arguments, environ) != 0) abort();
        insist([] { tools::sendSettings({kWithoutLogs, "soak", true, 0, 1, 0}); });
        insist([] { tools::sendSettings({kCaught, "caught", true, 0, 0, 0}); });
        fillBinderPool(mPid);
    }

    void startCatch() {
        await("end of a catch", [] { return entriesOf(kStaging) < kMaxCatches; });
        insist([] { tools::sendReport({kCaught, kMask, 1, 1, "soak"}); });
        ++mCatches;
    }

    void sendPacket() {
        static const std::string message = test::genlMessage(
                2, test::packet(2, "CriticalLog", "display", "logmap{logType:black_screen;pid:1}"));
        sockaddr_nl address = {};
        address.nl_family = AF_NETLINK;
        address.nl_pid = static_cast<uint32_t>(mPid);  // blocks while the buffer is full
        if (sendto(mPackets, message.data(), message.size(), 0,
                   reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
            perror("soak_load: sendto");
            exit(1);
        }
        ++mPacketsSent;
    }

    void sample(double rate) {
        const std::string proc = "/proc/" + std::to_string(mPid);
        std::ifstream status(proc + "/status");
        Sample sample = {0, 0, static_cast<double>(entriesOf(proc + "/fd")), rate};
        for (std::string word; status >> word;) {
            if (word == "VmRSS:") status >> sample.rss;
            if (word == "Threads:") status >> sample.threads;
        }
        mSamples.push_back(sample);
    }

    /** Median of a quarter of the samples. */
    double quarter(size_t number, double Sample::*figure) const {
        std::vector<double> values;
        for (size_t i = number * mSamples.size() / 4; i < (number + 1) * mSamples.size() / 4; ++i) {
            values.push_back(mSamples[i].*figure);
        }
        std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
        return values[values.size() / 2];
    }

    void print() {
        const SoakCounters& counters = soakCounters();
        const uint64_t reports = mReports + mCatches;
        await("log lines of all reports and packets",
              [&] { return counters.reports >= reports && counters.packets >= mPacketsSent; });
        const uint64_t lost = (reports - counters.reports) + (mPacketsSent - counters.packets) +
                              (mCatches - entriesOf(kArchives));
        printf("measure lost %llu\n", static_cast<unsigned long long>(lost));
        const std::pair<const char*, double Sample::*> figures[] = {
                {"rss", &Sample::rss},
                {"threads", &Sample::threads},
                {"descriptors", &Sample::descriptors},
                {"rate", &Sample::rate}};
        for (const auto& [name, figure] : figures) {
            printf("measure %s_first %g\n", name, quarter(0, figure));
            printf("measure %s_last %g\n", name, quarter(3, figure));
        }
    }

    std::string mDaemon;
    const uint64_t mReports;
    const int mPackets;
    pid_t mPid = 0;
    uint64_t mCatches = 0;
    uint64_t mPacketsSent = 0;
    std::vector<Sample> mSamples;
};

}  // namespace
}  // namespace android::kavel::bench

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    android::kavel::bench::Soak(argv[1], std::stoull(argv[2])).run();
    return 0;
}
