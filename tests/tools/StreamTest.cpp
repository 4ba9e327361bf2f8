// Would catch a statistic that the host's client writes so that it does not read back; a new
// statistic that is not shown until the end, one that is lost or shown twice when the file is
// replaced, and a command that does not end at Ctrl-C; raw records that one receive returns
// together, one that nobody read and that passes for a sent one, and a wait without end.

#include <cutils/sockets.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "platform/CommonPlxServiceManager.h"
#include "tests/fake/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/Commands.h"
#include "tools/JsonLine.h"
#include "tools/RawEventSender.h"

namespace android::kavel::tools {
namespace {

namespace fs = std::filesystem;
using Client = CommonPlxServiceManager;

TEST(Stats, ReadsWhatTheHostsClientWrites) {
    const test::TempDir folder;
    const fs::path file = folder / "PLX/statistics.jsonl";
    setenv("KAVEL_HOST_STATISTICS", file.c_str(), 1);
    EXPECT_EQ(Client::getDefaultCommonPlxServiceManager(), nullptr);
    fs::create_directory(file.parent_path());
    auto* const client = Client::getDefaultCommonPlxServiceManager();
    ASSERT_NE(client, nullptr);
    std::string control;
    for (char c = 1; c < 0x20; ++c) control += c;
    client->sendToPlxFromCommonPlx(
            "t\n", "\"q\" \\",
            {{"k", control + "\x7f"}, {"\xc3\xa4\xf0\x9f\x98\x80", "a\xff"}, {"\xed\xa0\x80", ""}});
    const Json::Value sent = parseJsonObject(test::contentOf(file)).value();
    EXPECT_THAT(sent["time"].asString(),
                testing::MatchesRegex(
                        "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}[+-][0-9]{2}:[0-9]{2}"));
    EXPECT_EQ(sent["tag"].asString(), "t\n");
    EXPECT_EQ(sent["event"].asString(), "\"q\" \\");
    std::string data;
    for (const Json::Value& pair : sent["data"]) {
        data += pair[0].asString() + "=" + pair[1].asString() + "|";
    }
    EXPECT_EQ(data, "k=" + control + "\x7f|\u00e4\U0001f600=a\ufffd|\ufffd\ufffd\ufffd=|");
}

std::string line(const std::string& event) {
    return R"({"time":"T","tag":"t","event":")" + event + "\",\"data\":[]}\n";
}

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
    std::ifstream shown("/dev/fd/" + std::to_string(ends[0]));
    const auto nextEvent = [&] {
        std::string text;
        std::getline(shown, text);
        return parseJsonObject(text).value()["event"].asString();
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
    EXPECT_EQ(shown.get(), EOF);
    close(ends[0]);
}

/** Expects that a record is lost for a reason that begins with @p reason. */
void expectLost(RawEventSender& sender, const std::string& reason) {
    try {
        sender.send("1:a:1");
        ADD_FAILURE() << "not lost";
    } catch (const CommandError& error) {
        EXPECT_EQ(std::string(error.what()).rfind(reason, 0), 0U) << error.what();
    }
}

TEST(RawEventSender, SendsRecordsApartAndSaysWhichIsLost) {
    const test::TempDir folder;
    const std::string path = folder / "s";
    RawEventSender early(path, std::chrono::milliseconds(50));
    expectLost(early, "cannot connect to " + path + ": No such file");
    const base::unique_fd server(
            socket_local_server(path.c_str(), ANDROID_SOCKET_NAMESPACE_FILESYSTEM, SOCK_STREAM));
    RawEventSender unread(path, std::chrono::milliseconds(50));
    expectLost(unread, "record 1 is lost: not read within 0 s");

    const std::vector<std::string> records = {"1:a:1", "2:bc:2", std::string(255, 'x'), "3:d:3"};
    std::thread reader([&] {
        base::unique_fd peer;
        for (int i = 0; i < 2; ++i) {  // the first one is gone
            peer.reset(accept4(server.get(), nullptr, nullptr, SOCK_CLOEXEC));
        }
        char buffer[256];
        for (const std::string& record : records) {  // it waits for as much as it can get
            const ssize_t size = recv(peer.get(), buffer, sizeof(buffer), MSG_WAITALL);
            EXPECT_EQ(std::string(buffer, static_cast<size_t>(size)), record + '\0');
        }
        EXPECT_EQ(recv(peer.get(), buffer, 1, 0), 1) << "the rest of the next one stays unread";
    });
    RawEventSender sender(path, std::chrono::seconds(60));
    for (const std::string& record : records) sender.send(record);
    expectLost(sender, "record 5 is lost: Connection reset");
    expectLost(sender, "record 5 is lost: Broken pipe");
    EXPECT_EQ(sender.sent(), records.size());
    reader.join();
}

}  // namespace
}  // namespace android::kavel::tools
