// The log's programs as a user meets them: log writes through the sink of every program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/host_system/TestFolder.h"

namespace android::kavel::host {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class LogcatTest : public testing::Test {
  protected:
    LogcatTest() { setenv("KAVEL_HOST_LOG_DIR", (mFolder / "log").c_str(), 1); }

    const TestFolder mFolder;
};

// Catches a message that ends in the wrong buffer, priority or form, and a wrong order.
TEST_F(LogcatTest, ShowsWhatWasLogged) {
    for (const char* words : {"log -p v -t First one", "log -b system -p e -t Second two words",
                              "log -b radio elsewhere", "log -t First three"}) {
        EXPECT_EQ(runProgram(words).exitCode, 0);
    }
    EXPECT_THAT(runProgram("logcat -d").output,
                MatchesRegex("--------- beginning of main\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ V First   : one\n"
                             "--------- beginning of system\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ E Second  : two words\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I First   : three\n"));
    const struct {
        const char* options;
        const char* expected;
    } cases[] = {
            {"-d -b radio -v tag", "--------- beginning of radio\nI/log     : elsewhere\n"},
            {"-t 1 -v raw", "--------- beginning of main\nthree\n"},
            {"-d -s -vraw First:I", "--------- beginning of main\nthree\n"},
            {"-d -v raw '*:W'", "--------- beginning of system\ntwo words\n"},
            {"-d -v raw Second:S First:i", "--------- beginning of main\nthree\n"},
            {"-d -v raw --pid=1", ""},
            {"-b events -d", ""},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(runProgram(std::string("logcat ") + each.options).output, each.expected)
                << each.options;
    }
    EXPECT_EQ(runProgram("logcat -c").exitCode, 0);
    EXPECT_EQ(runProgram("logcat -d").output, "");
    EXPECT_THAT(runProgram("logcat -d -b radio").output, HasSubstr("elsewhere"));
}

// Catches a wrong command line that is taken for a right one.
TEST_F(LogcatTest, RefusesWhatItDoesNotKnow) {
    const struct {
        const char* words;
        const char* reason;
    } cases[] = {
            {"logcat -d -Q", "unknown option '-Q'"},
            {"logcat -d -b nonsense", "'nonsense' is no value for option '-b'"},
            {"logcat -d -v json", "'json' is no value for option '-v'"},
            {"logcat -t -1", "'-1' is no value for option '-t'"},
            {"logcat -d -b", "option '-b' needs a value"},
            {"logcat -d tag:Q", "'tag:Q' is not TAG or TAG:PRIORITY"},
            {"log -p q text", "unknown priority 'q'"},
            {"log -b q text", "unknown buffer 'q'"},
            {"log", "no message"},
            {"logcat -d", "No such file or directory"},  // nothing has made the folder yet
    };
    for (const auto& each : cases) {
        if (each.words == std::string("logcat -d")) {
            setenv("KAVEL_HOST_LOG_DIR", (mFolder / "no/such").c_str(), 1);
        }
        const Outcome outcome = runProgram(each.words);
        EXPECT_EQ(outcome.exitCode, 1) << each.words;
        EXPECT_THAT(outcome.output, HasSubstr(each.reason)) << each.words;
    }
}

// Catches a follower that stays silent after its first look, or ends by itself.
TEST_F(LogcatTest, FollowsTheLog) {
    ASSERT_EQ(runProgram("log before").exitCode, 0);
    FILE* logcat = popen("echo $$; exec " PROGRAM_FOLDER "/logcat -v raw", "re");
    char line[100];
    const auto next = [&] { return std::string(fgets(line, sizeof(line), logcat) ? line : "end"); };
    const pid_t pid = std::stoi(next());
    EXPECT_EQ(next(), "--------- beginning of main\n");
    EXPECT_EQ(next(), "before\n");
    for (const char* word : {"one", "two", "three"}) {
        EXPECT_EQ(runProgram(std::string("log ") + word).exitCode, 0);
        EXPECT_EQ(next(), std::string(word) + "\n");
    }
    EXPECT_EQ(kill(pid, SIGTERM), 0);
    EXPECT_EQ(WTERMSIG(pclose(logcat)), SIGTERM);
}

}  // namespace
}  // namespace android::kavel::host
