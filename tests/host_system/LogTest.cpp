// Would catch two writers that replace the file twice, one that goes on in a removed file, and a
// file beyond its limit; a message in the wrong buffer, form or order, an older file left out, and
// a buffer that hides the others.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>

#include "host/system/LogFile.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

void write(LogFile* file, const std::string& writer, int lines) {
    for (int i = 0; i < lines; ++i) {
        const std::string name = writer + "-" + std::to_string(i);
        EXPECT_TRUE(file->append(name + std::string(99 - name.size(), '.') + "\n"));
    }
}

TEST(LogFile, ReplacementLosesNoLine) {
    constexpr int kWriters = 3;
    constexpr int kLines = 100;
    constexpr size_t kAllLines = size_t{2 * kWriters + 1} * kLines;
    constexpr off_t kLimit = 40'000;  // reached once in a round
    for (int round = 0; round < 20; ++round) {
        const test::TempDir folder;
        LogFile idle(folder / "main", kLimit);
        LogFile shared(folder / "main", kLimit);
        std::vector<pid_t> children;
        for (int i = 0; i < kWriters; ++i) {
            children.push_back(fork());
            if (children.back() != 0) continue;
            LogFile own(folder / "main", kLimit);
            write(&own, "process" + std::to_string(i), kLines);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < kWriters; ++i) {
            threads.emplace_back(write, &shared, "thread" + std::to_string(i), kLines);
        }
        for (std::thread& thread : threads) thread.join();
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        write(&idle, "idle", kLines);
        EXPECT_LE(std::filesystem::file_size(folder / "main.1"),
                  size_t{kLimit} + size_t{kWriters} * 200);
        std::istringstream all(test::contentOf(folder / "main.1") +
                               test::contentOf(folder / "main"));
        std::set<std::string> different;
        for (std::string line; std::getline(all, line);) different.insert(line);
        EXPECT_EQ(different.size(), kAllLines);
    }
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
    EXPECT_EQ(output("sed 's/ I First   : .*/ W Second  : b/' < " + folder + "/main.1 > " + folder +
                     "/system"),
              "");
    EXPECT_EQ(output(KAVEL_LOG " 'three\nfour\n'"), "");
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -v threadtime"),
                testing::MatchesRegex("--------- beginning of main\n"
                                      "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I First   : one two\n"
                                      "--------- beginning of system\n"
                                      "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ W Second  : b\n"
                                      "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I log     : three\n"
                                      "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I log     : four\n"));
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b system"), testing::Not(testing::HasSubstr("First")));
    EXPECT_EQ(output(KAVEL_LOGCAT " -d -b events"), "");
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b other"), testing::StartsWith("failed: Usage"));
}

}  // namespace
}  // namespace android::kavel::host
