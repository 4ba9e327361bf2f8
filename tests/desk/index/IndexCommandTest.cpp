#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "desk/cli/Kaveldesk.h"
#include "tests/desk/index/Fleet.h"
#include "tests/fake/TempDir.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using test::Fleet;
using testing::HasSubstr;

struct Outcome {
    int status;
    std::string out;
    std::string error;
};

Outcome runWith(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv = {"kaveldesk"};
    for (const auto& argument : arguments) argv.push_back(argument.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = run(static_cast<int>(argv.size()), argv.data());
    fflush(stdout);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

// Would catch output that is no JSON or CSV, a value that ends its field, and wrong exit statuses.
TEST(IndexCommands, PrintTextJsonAndCsv) {
    const TempDir dir;
    Fleet fleet({});
    CatchRow row;
    fleet.next(row);
    const Fleet::Archive archive = fleet.archive(row, 100);
    const std::string path = dir.write(archive.name, archive.bytes);
    const std::string db = dir / "index.db";
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string text;  // in the output, or in the error
    } cases[] = {
            {{"top"}, 1, "no index yet"},
            {{"index", path}, 0, "1 archives indexed, 0 of them broken"},
            {{"index", path, "--json"}, 0, "\"unchanged\" : 1"},
            {{"index", dir / "none"}, 1, "does not exist"},
            {{"index", "/dev/zero"}, 1, "/dev/zero: This is neither a file nor a folder."},
            {{"top"}, 0, "process"},
            {{"top", "--by", "fingerprint", "--json"}, 0, "\"catches\":1"},
            {{"top", "--by", "color"}, 2, "color"},
            {{"top", "--json", "--csv"}, 2, "--csv"},
            {{"top", "--since", "yesterday"}, 2, "'yesterday' is not a time"},
            {{"top", "--since", "2026-01-02", "--until", "2026-01-01"}, 2, "not before"},
            {{"top", "--until", "2026-01-01", "--csv"}, 0, "process,catches,first,last,builds\n"},
            {{"top", "--since", "1d", "--json"}, 0, "\"rows\": [\n]"},
            {{"top", "--since", "2026-01-01T01:00:00+01:00", "--csv"}, 0, row.process + ",1,"},
            {{"trend", "--json"}, 0, "T00:00:00.000Z\"}\n]"},
            {{"similar", path}, 0, row.fingerprint},
            {{"show", row.fingerprint, "--json"}, 0, "\"archives\": ["},
            {{"show", "none"}, 1, "no catch"},
            {{"compare", row.build, "none"}, 1, "'none'"},
            {{"compare", row.build, row.build, "--all", "--json"}, 0, row.fingerprint},
            {{"sql", "SELECT 'a,\"b' || char(10) AS x, 1.5, NULL", "--csv"},
             0,
             "x,1.5,NULL\n\"a,\"\"b\n\",1.5,\n"},
            {{"sql", "SELECT char(27) || 'é' AS x, 2 AS number"}, 0, "\\x1B"},
            {{"sql", "SELECT x'ff' AS x", "--json"}, 0, "\"x\""},
            {{"sql", "DELETE FROM catches"}, 1, "not authorized"},
            {{"sql", "SELECT x FROM catches", "--json"}, 1, "no such column"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.arguments));
        std::vector<std::string> arguments = each.arguments;
        arguments.insert(arguments.end(), {"--db", db});
        const Outcome outcome = runWith(arguments);
        EXPECT_EQ(outcome.status, each.status) << outcome.error;
        EXPECT_THAT(each.status == 0 ? outcome.out : outcome.error, HasSubstr(each.text));
        if (each.arguments.back() != "--json") continue;
        if (each.status != 0) {
            EXPECT_EQ(outcome.out, "");  // no start of a document
            continue;
        }
        Json::Value json;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        std::string error;
        EXPECT_TRUE(reader->parse(outcome.out.data(), outcome.out.data() + outcome.out.size(),
                                  &json, &error))
                << error << outcome.out;
        EXPECT_EQ(json["format"].asInt(), 1);
    }
}

}  // namespace
}  // namespace kaveldesk
