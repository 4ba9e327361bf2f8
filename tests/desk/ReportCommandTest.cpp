#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "desk/cli/Kaveldesk.h"
#include "tests/desk/DeskTexts.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;
using android::kavel::test::contentOf;
using android::kavel::test::TempDir;
using android::kavel::tools::tarBytes;
using test::kFirstRound;
using test::kFolder;
using testing::HasSubstr;
using testing::StartsWith;

// Would catch a report that goes to another place, replaces the archive, or leaves half a page.
TEST(ReportCommand, WritesOnePageAndNothingElse) {
    TempDir dir;
    const auto text = tarBytes(kFolder, {{std::string("android-") + kFirstRound, "a line\n"}});
    const std::string archive = dir.write(std::string(kFolder) + ".tar.gz", text);
    const fs::path folder = fs::path(archive).parent_path();
    const auto before = fs::current_path();
    fs::current_path(folder);
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string out;  // what is printed, or part of the error
        std::string page;
    } cases[] = {
            {{archive}, 0, (folder / kFolder).string() + ".html\n", std::string(kFolder) + ".html"},
            {{archive, "-o", "page.html"}, 0, (folder / "page.html").string() + "\n", "page.html"},
            {{archive, "-o", archive}, 1, "is the archive itself", ""},
            {{archive, "-o", "missing/page.html"}, 1, "missing/page.html cannot be written", ""},
            {{archive, archive, "-o", "two.html"}, 1, "there are 2 archives", ""},
            {{archive, "-o", "."}, 1, "cannot be written", ""},
            {{"/dev/null"}, 1, "/dev/null is neither a file nor a folder.", ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.arguments));
        std::vector<const char*> argv = {"kaveldesk", "report"};
        for (const auto& argument : each.arguments) argv.push_back(argument.c_str());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        EXPECT_EQ(run(static_cast<int>(argv.size()), argv.data()), each.status);
        fflush(stdout);
        const auto out = testing::internal::GetCapturedStdout();
        const auto error = testing::internal::GetCapturedStderr();
        if (each.status == 0) {
            EXPECT_EQ(out, each.out);
            EXPECT_THAT(contentOf(each.page), StartsWith("<!DOCTYPE html>"));
            EXPECT_THAT(contentOf(each.page), HasSubstr("</body>\n</html>\n"));
            fs::remove(each.page);
        } else {
            EXPECT_EQ(out, "");
            EXPECT_THAT(error, HasSubstr(each.out));
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
        EXPECT_EQ(contentOf(archive), text);
    }
    fs::current_path(before);
}

}  // namespace
}  // namespace kaveldesk
