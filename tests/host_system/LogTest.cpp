#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/system/LogFile.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using test::TempDir;

/** The lines of a log file and of the generation before it. */
std::vector<std::string> linesOf(const std::string& path) {
    std::vector<std::string> lines;
    for (const std::string& name : {path + ".1", path}) {
        std::ifstream file(name);
        for (std::string line; std::getline(file, line);) lines.push_back(line);
    }
    return lines;
}

void write(LogFile* file, const std::string& writer, int lines) {
    for (int i = 0; i < lines; ++i) {
        const std::string name = writer + "-" + std::to_string(i);
        EXPECT_TRUE(file->append(name + std::string(99 - name.size(), '.') + "\n"));
    }
}

// Would catch two writers that turn the file over twice, or one that goes on in a removed file.
TEST(LogFile, TurningOverLosesNoLine) {
    constexpr int kRounds = 20;
    constexpr int kProcesses = 3;
    constexpr int kThreads = 3;
    constexpr int kLines = 100;
    constexpr size_t kAllLines = size_t{kProcesses + kThreads} * kLines;
    constexpr off_t kLimit = off_t{kAllLines} * 100 * 2 / 3;  // reached once in a round
    for (int round = 0; round < kRounds; ++round) {
        const TempDir folder;
        LogFile shared(folder / "main", kLimit);
        std::vector<pid_t> children;
        for (int i = 0; i < kProcesses; ++i) {
            children.push_back(fork());
            if (children.back() == 0) {
                LogFile own(folder / "main", kLimit);
                write(&own, "process" + std::to_string(i), kLines);
                _exit(testing::Test::HasFailure() ? 1 : 0);
            }
        }
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back(write, &shared, "thread" + std::to_string(i), kLines);
        }
        for (std::thread& thread : threads) thread.join();
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        const std::vector<std::string> lines = linesOf(folder / "main");
        const std::set<std::string> different(lines.begin(), lines.end());
        EXPECT_EQ(lines.size(), kAllLines);
        EXPECT_EQ(different.size(), lines.size());
        EXPECT_TRUE(std::filesystem::exists(folder / "main.1"));
    }
}

// Would catch a file that grows beyond its limit, and a line that is written into a file which two
// turns have already removed.
TEST(LogFile, AnIdleWriterFindsTheNewFile) {
    const TempDir folder;
    LogFile idle(folder / "main", 1000);
    LogFile busy(folder / "main", 1000);
    write(&idle, "early", 1);
    write(&busy, "busy", 21);
    EXPECT_EQ(std::filesystem::file_size(folder / "main.1"), 1000u);
    write(&idle, "late", 1);
    const std::vector<std::string> lines = linesOf(folder / "main");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().substr(0, 7), "late-0.");
}

}  // namespace
}  // namespace android::kavel::host
