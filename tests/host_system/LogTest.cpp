// Would catch two writers that both replace the file, one that continues in a removed file, and a
// file beyond its limit; a message in the wrong buffer, format or order; an older file that is not
// shown, and a missing buffer.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <set>
#include <thread>

#include "host/system/LogFile.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

constexpr int kWriters = 3;
constexpr int kLines = 100;
constexpr off_t kLimit = 40'000;  // reached once in a round

void write(LogFile* file, const std::string& writer) {
    for (int i = 0; i < kLines; ++i) {
        const std::string name = writer + "-" + std::to_string(i);
        EXPECT_TRUE(file->append(name + std::string(99 - name.size(), '.') + "\n"));
    }
}

TEST(LogFile, ReplacementLosesNoLine) {
    int exactRounds = 0;  // on a busy machine, others write much until one has renamed the file
    for (int round = 0; round < 20; ++round) {
        const test::TempDir folder;
        LogFile idle(folder / "main", kLimit);
        LogFile shared(folder / "main", kLimit);
        std::array<pid_t, kWriters> children;
        for (pid_t& child : children) {
            child = fork();
            if (child != 0) continue;
            LogFile own(folder / "main", kLimit);
            write(&own, "process" + std::to_string(getpid()));
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < kWriters; ++i) {
            threads.emplace_back(write, &shared, "thread" + std::to_string(i));
        }
        for (std::thread& thread : threads) thread.join();
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        write(&idle, "idle");
        const std::string older = test::contentOf(folder / "main.1");
        EXPECT_GE(older.size(), size_t{kLimit});
        if (older.size() <= size_t{kLimit} + size_t{kWriters} * 200) ++exactRounds;
        std::istringstream all(older + test::contentOf(folder / "main"));
        std::set<std::string> different;
        for (std::string line; std::getline(all, line);) different.insert(line);
        EXPECT_EQ(different.size(), size_t{2 * kWriters + 1} * kLines);
    }
    EXPECT_GT(exactRounds, 0);
}

/** What a program prints, errors included, when a shell runs it. */
std::string output(const std::string& words) {
    FILE* const pipe = popen((words + " 2>&1").c_str(), "re");
    std::string text;
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) text += static_cast<char>(c);
    return pclose(pipe) == 0 ? text : "failed: " + text;
}

TEST(Logcat, ShowsWhatWasLogged) {
    const test::TempDir top;
    const std::string folder = top / "log";
    setenv("KAVEL_HOST_LOG_DIR", folder.c_str(), 1);
    EXPECT_EQ(output(KAVEL_LOG " -t First one two"), "");
    std::filesystem::rename(folder + "/main", folder + "/main.1");
    EXPECT_EQ(output("cd " + folder + "; sed 's/I First   : .*/W Second  : b/' main.1 > system"),
              "");
    EXPECT_EQ(output(KAVEL_LOG " 'three\nfour\n'"), "");
    const std::string time = "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ ";
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -v threadtime"),
                testing::MatchesRegex("--------- beginning of main\n" + time +
                                      "I First   : one two\n"
                                      "--------- beginning of system\n" +
                                      time + "W Second  : b\n" + time + "I log     : three\n" +
                                      time + "I log     : four\n"));
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b system"), testing::Not(testing::HasSubstr("First")));
    EXPECT_EQ(output(KAVEL_LOGCAT " -d -b events"), "");
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b other"), testing::StartsWith("failed: Usage"));
}

}  // namespace
}  // namespace android::kavel::host
