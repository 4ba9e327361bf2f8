#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>
#include <vector>

#include "host/system/LogFile.h"
#include "host/system/LogLine.h"
#include "host/system/LogTail.h"
#include "tests/host_system/TestFolder.h"

namespace android::kavel::host {
namespace {

LogOrigin origin() {
    LogOrigin origin{{}, 7, 42, 123456};
    origin.time.tm_mon = 1;
    origin.time.tm_mday = 3;
    origin.time.tm_hour = 4;
    origin.time.tm_min = 5;
    origin.time.tm_sec = 6;
    return origin;
}

// Catches a form that a reader of logcat's output would not take, and a line without prefix.
TEST(LogLine, FormatsAndParses) {
    const std::string prefix = "02-03 04:05:06.007    42 123456 W tag     : ";
    const struct {
        std::string message;
        std::string expected;
    } cases[] = {
            {"text", prefix + "text\n"},
            {"text\n", prefix + "text\n"},
            {"", prefix + "\n"},
            {"a\n\nb", prefix + "a\n" + prefix + "\n" + prefix + "b\n"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(formatThreadtime(origin(), 5, "tag", each.message), each.expected);
    }
    const std::string text = prefix + "a: b";
    const auto line = parseThreadtime(text);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->pid, 42);
    EXPECT_EQ(line->tid, 123456);
    EXPECT_EQ(line->priority, 'W');
    EXPECT_EQ(line->tag, "tag");
    EXPECT_EQ(line->message, "a: b");
    for (const std::string& tag : {std::string(), std::string("a tag longer than its width")}) {
        std::string formatted = formatThreadtime(origin(), 2, tag, "m");
        formatted.pop_back();
        const auto parsed = parseThreadtime(formatted);
        ASSERT_TRUE(parsed) << formatted;
        EXPECT_EQ(parsed->tag, tag);
        EXPECT_EQ(parsed->message, "m");
    }
    for (size_t length = 0; length + 1 < prefix.size(); ++length) {
        EXPECT_FALSE(parseThreadtime(prefix.substr(0, length))) << length;
    }
}

void write(LogFile* file, const std::string& writer, int lines) {
    for (int i = 0; i < lines; ++i) {
        const std::string name = writer + "-" + std::to_string(i);
        EXPECT_TRUE(file->append(name + std::string(99 - name.size(), '.') + "\n"));
    }
}

// Catches two writers that turn the file over twice, or one that goes on in a removed file.
TEST(LogFile, TurningOverLosesNoLine) {
    constexpr int kRounds = 20;
    constexpr int kProcesses = 3;
    constexpr int kThreads = 3;
    constexpr int kLines = 100;
    constexpr size_t kAllLines = size_t{kProcesses + kThreads} * kLines;
    constexpr off_t kLimit = off_t{kAllLines} * 100 * 2 / 3;  // reached once in a round
    for (int round = 0; round < kRounds; ++round) {
        const TestFolder folder;
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
        EXPECT_EQ(access((folder / "main.1").c_str(), F_OK), 0);
    }
}

// Catches a log that grows without end, or that other users cannot write.
TEST(LogFile, IsBoundedAndOpenToAll) {
    const TestFolder folder;
    const mode_t before = umask(077);
    LogFile file(folder / "main", 1000);
    write(&file, "w", 95);
    umask(before);
    struct stat info {};
    ASSERT_EQ(stat((folder / "main").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0666U);
    EXPECT_EQ(info.st_size, 500);
    ASSERT_EQ(stat((folder / "main.1").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 1000);
    EXPECT_FALSE(LogFile(folder / "no/such", 1000).append("x\n"));
}

// Catches a line that is written into a file which two turns have already removed.
TEST(LogFile, AnIdleWriterFindsTheNewFile) {
    const TestFolder folder;
    LogFile idle(folder / "main", 1000);
    LogFile busy(folder / "main", 1000);
    write(&idle, "early", 1);
    write(&busy, "busy", 21);
    write(&idle, "late", 1);
    const std::vector<std::string> lines = LogTail(folder / "main").readNew();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().substr(0, 7), "late-0.");
}

// Catches a follower that repeats, skips or cuts lines when the file is turned over or emptied.
TEST(LogTail, FollowsTurnsAndEmptying) {
    const TestFolder folder;
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
