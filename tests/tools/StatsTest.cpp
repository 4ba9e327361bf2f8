#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "platform/CommonPlxServiceManager.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/RunKavelctl.h"

namespace android::kavel::tools {
namespace {

namespace fs = std::filesystem;

Result stats(const fs::path& file, std::vector<std::string> words = {}) {
    words.insert(words.begin(), {"stats", "--file", file.string()});
    return run(words);
}

std::string line(const std::string& event) {
    return "{\"time\":\"2024-03-07T09:05:02.007\",\"tag\":\"t\",\"event\":\"" + event +
           "\",\"data\":[[\"a\",\"1\"],[\"b\",\"2\"]]}\n";
}

// Would catch a table or list that leaves out, reorders or invents statistics, a terminal that is
// handed control characters, and a bad line that ends or hides the good ones.
TEST(Stats, ShowsWhatIsThere) {
    const test::TempDir folder;
    const fs::path file = folder / "s.jsonl";
    const Result missing = stats(file);
    EXPECT_EQ(missing.exitCode, kExitRefused);
    EXPECT_EQ(missing.err, "kavelctl: no statistics: cannot read " + file.string() +
                                   ": No such file or directory\n");
    EXPECT_EQ(stats(file, {"--follow"}).exitCode, kExitRefused);

    folder.write("s.jsonl.1", line("oldest"));
    const std::string row = "2024-03-07T09:05:02.007  ";
    EXPECT_EQ(stats(file).out, row + "oldest  a=1 b=2\n");
    folder.write("s.jsonl", line("esc\\u001b") + "junk\n\n{}\n[[[\n" + std::string(5000, '[') +
                                    "\n" + line("x").replace(8, 25, "1") + line("new") +
                                    line("cut").substr(0, 60));
    const Result table = stats(file);
    EXPECT_EQ(table.exitCode, kExitOk);
    EXPECT_EQ(table.out, row + "oldest   a=1 b=2\n" + row + "esc\\x1b  a=1 b=2\n" + row +
                                 "new      a=1 b=2\n");
    EXPECT_EQ(table.err, "kavelctl: ignored 7 lines that are not statistics\n");
    const Json::Value json = parseJson(stats(file, {"--json"}).out);
    ASSERT_EQ(json.size(), 3U);
    EXPECT_EQ(json[1]["event"].asString(), "esc\x1b");
    EXPECT_EQ(json[2]["data"][1][1].asString(), "2");
}

// Would catch a statistic that the host's client writes so that it does not read back, and a file
// that grows without end.
TEST(Stats, ReadsWhatTheHostsClientWrites) {
    const test::TempDir folder;
    const fs::path file = folder / "PLX/statistics.jsonl";
    setenv("KAVEL_HOST_STATISTICS", file.c_str(), 1);
    EXPECT_EQ(CommonPlxServiceManager::getDefaultCommonPlxServiceManager(), nullptr);
    fs::create_directory(file.parent_path());
    auto* const client = CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
    ASSERT_NE(client, nullptr);
    umask(022);
    client->sendToPlxFromCommonPlx("tag", "\"q\" \\", {});
    std::string control;
    for (char c = 1; c < 0x20; ++c) control += c;
    const CommonPlxServiceManager::Pairs pairs = {
            {"k", "v"},
            {"k", control + "\x7f"},
            {"\xc3\xa4\xf0\x9f\x98\x80", "\xed\x9f\xbf"},
            {"a\xff", "\xc3"},
            {"\xed\xa0\x80", "\xe0\x9f\xbf \xf4\x90\x80\x80 \xc0\x80"}};
    client->sendToPlxFromCommonPlx("t\n", "e", pairs);

    struct stat info {};
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0644U);
    const Json::Value json = parseJson(stats(file, {"--json"}).out);
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0]["event"].asString(), "\"q\" \\");
    EXPECT_EQ(json[0]["data"].size(), 0U);
    EXPECT_EQ(json[1]["tag"].asString(), "t\n");
    EXPECT_THAT(json[1]["time"].asString(),
                testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}"));
    const Json::Value& data = json[1]["data"];
    ASSERT_EQ(data.size(), pairs.size());
    for (const Json::ArrayIndex i : {0U, 1U, 2U}) {
        EXPECT_EQ(data[i][0].asString(), pairs[i].first);
        EXPECT_EQ(data[i][1].asString(), pairs[i].second);
    }
    const std::string r = "\xef\xbf\xbd";
    EXPECT_EQ(data[3][0].asString(), "a" + r);
    EXPECT_EQ(data[3][1].asString(), r);
    EXPECT_EQ(data[4][0].asString(), r + r + r);
    EXPECT_EQ(data[4][1].asString(), r + r + r + " " + r + r + r + r + " " + r + r);

    const std::string large(size_t{1} << 20, 'x');
    for (int i = 0; i < 9; ++i) client->sendToPlxFromCommonPlx(std::to_string(i), large, {});
    EXPECT_LT(fs::file_size(file), size_t{4} << 20);
    const Json::Value kept = parseJson(stats(file, {"--json"}).out);
    ASSERT_EQ(kept.size(), 5U);  // one older generation of four, and what came after it
    for (Json::ArrayIndex i = 0; i < 5; ++i) EXPECT_EQ(kept[i]["tag"], std::to_string(i + 4));
}

// Would catch a new statistic that is not shown until the end, one that is lost or shown twice when
// the file turns over, and a command that does not end at Ctrl-C.
TEST(Stats, FollowsTheFile) {
    const test::TempDir folder;
    const std::string file = folder.write("s.jsonl", line("first"));
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    int exitCode = -1;
    std::thread follower([&] {
        std::ofstream out("/dev/fd/" + std::to_string(ends[1]));
        std::ostringstream err;
        exitCode = runKavelctl({"stats", "--json", "--follow", "--file", file}, {out, err});
    });
    FILE* const shown = fdopen(ends[0], "r");
    const auto nextEvent = [&] {
        char* text = nullptr;
        size_t size = 0;
        EXPECT_GT(getline(&text, &size, shown), 0);
        std::string event = parseJson(text)["event"].asString();
        free(text);
        return event;
    };
    EXPECT_EQ(nextEvent(), "first");
    std::ofstream(file, std::ios::app) << line("second").substr(0, 9) << std::flush
                                       << line("second").substr(9) << line("third");
    EXPECT_EQ(nextEvent(), "second");
    EXPECT_EQ(nextEvent(), "third");
    std::ofstream(file, std::ios::app) << line("last of its file");
    fs::rename(file, file + ".1");
    folder.write("s.jsonl", line("new file"));
    EXPECT_EQ(nextEvent(), "last of its file");
    EXPECT_EQ(nextEvent(), "new file");
    pthread_kill(follower.native_handle(), SIGINT);
    follower.join();
    EXPECT_EQ(exitCode, kExitOk);
    close(ends[1]);
    EXPECT_EQ(fgetc(shown), EOF);
    fclose(shown);
}

}  // namespace
}  // namespace android::kavel::tools
