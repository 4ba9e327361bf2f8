#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <set>
#include <thread>
#include <tuple>
#include <vector>

#include "host/system/LogFile.h"
#include "host/system/LogLine.h"
#include "host/system/LogTail.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using test::TempDir;

// Would catch a reader that takes a line cut short, and a tag that upsets the columns.
TEST(LogLine, ParsesWhatItFormats) {
    for (const std::string tag : {"", "tag", "a tag longer than its width"}) {
        std::string line = formatThreadtime({{}, 7, 42, 123456}, 5, tag, "a: b\n");
        line.pop_back();
        const auto parsed = parseThreadtime(line);
        ASSERT_TRUE(parsed) << line;
        EXPECT_EQ(
                std::tie(parsed->pid, parsed->tid, parsed->priority, parsed->tag, parsed->message),
                std::tuple(42, 123456, 'W', tag, "a: b"));
        const size_t prefix = line.size() - strlen("a: b");
        for (size_t length = 0; length + 1 < prefix; ++length) {
            EXPECT_FALSE(parseThreadtime(line.substr(0, length))) << length;
        }
    }
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
        const std::vector<std::string> lines = LogTail(folder / "main").readNew();
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
    const std::vector<std::string> lines = LogTail(folder / "main").readNew();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().substr(0, 7), "late-0.");
}

// Would catch a follower that repeats, skips or cuts lines when the file is turned over or emptied.
TEST(LogTail, FollowsTurnsAndEmptying) {
    const TempDir folder;
    LogFile file(folder / "main", 1000);
    LogTail tail(folder / "main");
    EXPECT_TRUE(tail.readNew().empty());
    size_t seen = 0;
    for (int i = 0; i < 52; ++i) {
        write(&file, "w" + std::to_string(i), 3);
        seen += tail.readNew().size();
        EXPECT_EQ(seen, size_t{3} * static_cast<size_t>(i + 1));
    }
    ASSERT_EQ(truncate((folder / "main").c_str(), 0), 0);
    ASSERT_TRUE(file.append("half"));
    EXPECT_TRUE(tail.readNew().empty());
    ASSERT_TRUE(file.append(" and half\n"));
    EXPECT_EQ(tail.readNew(), std::vector<std::string>{"half and half"});
}

}  // namespace
}  // namespace android::kavel::host
