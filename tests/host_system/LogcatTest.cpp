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
using testing::Not;

/** What a program prints, errors included, when a shell runs it. */
std::string output(const std::string& words) {
    FILE* const pipe = popen((words + " 2>&1").c_str(), "re");
    std::string text;
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) text += static_cast<char>(c);
    const int status = pclose(pipe);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "failed: " + text;
}

class LogcatTest : public testing::Test {
  protected:
    LogcatTest() { setenv("KAVEL_HOST_LOG_DIR", folder().c_str(), 1); }

    std::string folder() const { return mTop / "log"; }

  private:
    const TempDir mTop;
};

// Would catch a message in the wrong buffer, form or order, a generation left out, and a buffer
// that hides the others.
TEST_F(LogcatTest, ShowsWhatWasLogged) {
    EXPECT_EQ(output(KAVEL_LOG " -t First one two"), "");
    std::filesystem::rename(folder() + "/main", folder() + "/main.1");
    EXPECT_EQ(output("sed 's/ I First   : .*/ W Second  : b/' < " + folder() + "/main.1 > " +
                     folder() + "/system"),
              "");
    EXPECT_EQ(output(KAVEL_LOG " 'three\nfour\n'"), "");
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -v threadtime"),
                MatchesRegex("--------- beginning of main\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I First   : one two\n"
                             "--------- beginning of system\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ W Second  : b\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I log     : three\n"
                             "..-.. ..:..:..\\.... +[0-9]+ +[0-9]+ I log     : four\n"));
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b system"), Not(HasSubstr("First")));
    EXPECT_EQ(output(KAVEL_LOGCAT " -d -b events"), "");
    EXPECT_THAT(output(KAVEL_LOGCAT " -d -b other"), HasSubstr("failed: Usage"));
}

}  // namespace
}  // namespace android::kavel::host
