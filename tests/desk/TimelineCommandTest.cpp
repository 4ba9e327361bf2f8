#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "desk/cli/Kaveldesk.h"
#include "tests/desk/DeskTexts.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using android::kavel::tools::tarBytes;
using test::kFirstRound;
using test::kFolder;
using testing::HasSubstr;

struct Result {
    int status;
    std::string out;
    std::string error;
};

Result runDesk(std::vector<std::string> arguments) {
    std::vector<const char*> argv = {"kaveldesk"};
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = run(static_cast<int>(argv.size()), argv.data());
    fflush(stdout);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

class TimelineCommand : public testing::Test {
  protected:
    Result timeline(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"timeline", mArchive});
        return runDesk(options);
    }

    TempDir mDir;
    std::string mArchive = mDir.write(
            std::string(kFolder) + ".tar.gz",
            tarBytes(kFolder,
                     {{std::string("android-") + kFirstRound,
                       "11-21 08:33:20.000     1     2 W tag     : early\n"
                       "11-21 08:33:31.000     1     2 I tag     : \x1b[2Jnear \xc2\x9b \xff\n"
                       "11-21 08:33:31.001     1     2 E a<b>    : \"last\"\n"
                       "\tat b\n"},
                      {std::string("kernel-") + kFirstRound, "[  1.0] kernel line\n"}}));
};

TEST_F(TimelineCommand, PrintsText) {
    const Result result = timeline();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "2026-11-21 07:33:20.000  08:33:20.000  main     W     1     2 tag: early\n"
              "2026-11-21 07:33:31.000  08:33:31.000  main     I     1     2 tag: "
              "\\x1B[2Jnear \\xC2\\x9B \\xFF\n"
              "2026-11-21 07:33:31.001  08:33:31.001  main     E     1     2 a<b>: \"last\"\n"
              "2026-11-21 07:33:31.001  08:33:31.001  main     "
              "android-2026-11-21-08-33-31-700.txt: \tat b\n"
              "2026-11-21 07:33:31.583  08:33:31.583  === event my_anr_com.example.app ===\n"
              "2026-11-21 07:33:31.700  08:33:31.700  === round 1 ===\n"
              "2026-11-21 07:33:31.700  08:33:31.700  kernel   ?     0     0 kernel line\n");
    EXPECT_THAT(result.error, HasSubstr("matched by the time of collection"));
}

TEST_F(TimelineCommand, KeepsCharactersOfLongLinesWhole) {
    std::string line = "2026-11-21 07:33:25.000 +0000     1     2 W t       : x";
    for (int i = 0; i < 100'000; ++i) line += "\xc3\xa9";
    const Result result = runDesk({"timeline", mDir.write("other.log", line + "\n")});
    EXPECT_TRUE(result.out.find(line.substr(line.find(": x")) + "\n") != std::string::npos);
    Json::Value object;
    const Result json = runDesk({"timeline", mDir / "other.log", "--json", "--grep", "x"});
    ASSERT_TRUE(Json::Reader().parse(json.out.substr(json.out.rfind("\n{") + 1), object));
    EXPECT_TRUE(object["text"] == line);
}

TEST_F(TimelineCommand, Filters) {
    const struct {
        std::vector<std::string> options;
        const char* expected;  // the lines that are shown: early, near, last, at, kernel
    } kRows[] = {
            {{}, "early near last at kernel "},
            {{"--around", "1s"}, "near last at kernel "},
            {{"--around", "11600ms"}, "early near last at kernel "},
            {{"--from", "08:33:31.001"}, "last at kernel "},
            {{"--from", "2026-11-21T07:33:31Z", "--to", "2026-11-21 08:33:31"}, "near "},
            {{"--to", "2026-11-21-08-33-20-000"}, "early "},
            {{"--source", "kernel"}, "kernel "},
            {{"--source", "kernel,main"}, "early near last at kernel "},
            {{"--level", "W"}, "early last "},
            {{"--grep", "^\tat|e[a]r"}, "early near at "},
            {{"--grep", "e", "--level", "E"}, ""},
    };
    for (const auto& row : kRows) {
        const Result result = timeline(row.options);
        std::string shown;
        for (const char* word : {"early", "near", "last", "at b", "kernel line"}) {
            if (result.out.find(word) == std::string::npos) continue;
            shown += std::string(word).substr(0, std::string(word).find(' ')) + " ";
        }
        EXPECT_EQ(shown, row.expected) << testing::PrintToString(row.options);
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(TimelineCommand, PrintsJson) {
    const Result result = timeline({"--json", "--grep", "near"});
    EXPECT_EQ(result.error, "");
    std::istringstream lines(result.out);
    std::vector<Json::Value> objects;
    for (std::string line; std::getline(lines, line);) {
        Json::Value& object = objects.emplace_back();
        ASSERT_TRUE(Json::Reader().parse(line, object)) << line;
    }
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_THAT(objects[0]["note"].asString(), HasSubstr("kernel's clock"));
    const Json::Value& record = objects[1];
    EXPECT_EQ(record["utc"], "2026-11-21T07:33:31.000Z");
    EXPECT_EQ(record["local"], "2026-11-21T08:33:31.000+01:00");
    EXPECT_EQ(record["line"], 2);
    EXPECT_EQ(record["level"], "I");
    EXPECT_EQ(record["tag"], "tag");
    EXPECT_EQ(record["message"], "\x1b[2Jnear \xc2\x9b \xef\xbf\xbd");
    EXPECT_EQ(objects[2]["mark"], "event my_anr_com.example.app");
}

TEST_F(TimelineCommand, MergesArchives) {
    const std::string other = mDir.write(
            "other.log", "2026-11-21 07:33:25.000 +0000     1     2 W tag     : between\n");
    const Result result = timeline({other, "--level", "W"});
    const size_t early = result.out.find("early");
    const size_t between = result.out.find("other.log  main     W     1     2 tag: between");
    EXPECT_LT(early, between);
    EXPECT_LT(between, result.out.find("last"));
    EXPECT_NE(between, std::string::npos);
}

TEST_F(TimelineCommand, Errors) {
    const std::string log = mDir.write("log", "text\n");
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* error;
    } kRows[] = {
            {{}, 2, "subcommand is required"},
            {{"timeline"}, 2, "ARCHIVE is required"},
            {{"timeline", mArchive, "--level", "X"}, 2, "--level"},
            {{"timeline", mArchive, "--source", "none"}, 2, "--source"},
            {{"timeline", mArchive, "--around", "10"}, 2, "'10' is not a time span"},
            {{"timeline", mArchive, "--around", "9999999999999999999s"}, 2, "is not a time span"},
            {{"timeline", mArchive, "--from", "yesterday"}, 2, "'yesterday' is not a time"},
            {{"timeline", mArchive, "--from", "08:33:31", "--to", "08:33:20"}, 2, "after the end"},
            {{"timeline", mArchive, "--grep", "("}, 2, "missing )"},
            {{"timeline", mDir / "no\x1bne"}, 1, "no\\x1Bne does not exist."},
            {{"timeline", mDir.write("empty", "")}, 1, "There is no text"},
            {{"timeline", mDir.write("bytes", std::string(99, '\1'))}, 1, "There is no text"},
            {{"timeline", log, "--around", "1s"}, 1, "use --from and --to"},
            {{"timeline", log, "--from", "08:00:00"}, 1, "needs a date and a time"},
    };
    for (const auto& row : kRows) {
        const Result result = runDesk(row.arguments);
        EXPECT_EQ(result.status, row.status) << testing::PrintToString(row.arguments);
        EXPECT_THAT(result.error, HasSubstr(row.error));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(runDesk({"timeline", "--help"}).status, 0);
}

}  // namespace
}  // namespace kaveldesk
