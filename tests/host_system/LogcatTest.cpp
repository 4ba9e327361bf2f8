// The log's programs as a user meets them: log writes through the sink of every program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using test::TempDir;

using testing::HasSubstr;
using testing::MatchesRegex;

/** What a program prints, errors included, when a shell runs it with these words behind it. */
std::string output(const std::string& words) {
    FILE* const pipe = popen((std::string(PROGRAM_FOLDER "/") + words + " 2>&1").c_str(), "re");
    std::string text;
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) text += static_cast<char>(c);
    const int status = pclose(pipe);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "failed: " + text;
}

class LogcatTest : public testing::Test {
  protected:
    LogcatTest() { setenv("KAVEL_HOST_LOG_DIR", (mFolder / "log").c_str(), 1); }

  private:
    const TempDir mFolder;
};

// Would catch a message that ends in the wrong buffer, priority or form, and a wrong order.
TEST_F(LogcatTest, ShowsWhatWasLogged) {
    for (const char* words : {"log -p v -t First one", "log -b system -p e -t Second two words",
                              "log -b radio elsewhere", "log -t First three"}) {
        EXPECT_EQ(output(words), "");
    }
    EXPECT_THAT(output("logcat -d"),
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
    };
    for (const auto& each : cases) {
        EXPECT_EQ(output(std::string("logcat ") + each.options), each.expected) << each.options;
    }
    EXPECT_EQ(output("logcat -c"), "");
    EXPECT_EQ(output("logcat -d"), "");
    EXPECT_THAT(output("logcat -d -b radio"), HasSubstr("elsewhere"));
}

}  // namespace
}  // namespace android::kavel::host
