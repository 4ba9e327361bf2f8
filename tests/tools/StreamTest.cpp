// Would catch a statistic that the host's client writes so that it does not read back; a new
// statistic that is not shown until the end, one that is lost or shown twice when the file is
// replaced, and a command that does not end at Ctrl-C; an archive that is shown before it is
// complete, twice or not at all, and a wait that an old or another archive ends; raw records that
// one receive returns together, one that nobody read and that passes for a sent one, and a wait
// without end.

#include <cutils/sockets.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <thread>

#include "dump/LogFolderName.h"
#include "platform/CommonPlxServiceManager.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"
#include "tools/CommandLine.h"
#include "tools/Commands.h"
#include "tools/JsonLine.h"
#include "tools/RawEventSender.h"
#include "tools/Text.h"

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

/** A command that runs until Ctrl-C, on its own thread. */
class Following {
  public:
    explicit Following(const std::vector<std::string>& words) {
        EXPECT_EQ(pipe2(mEnds, O_CLOEXEC), 0);
        mShown.open("/dev/fd/" + std::to_string(mEnds[0]));
        mThread = std::thread([this, words] {
            std::ofstream out("/dev/fd/" + std::to_string(mEnds[1]));
            mExitCode = runKavelctl(words, {out, out});
        });
    }
    ~Following() { close(mEnds[0]); }

    std::string nextLine() {
        std::string text;
        std::getline(mShown, text);
        return text;
    }
    Json::Value nextJson() { return parseJsonObject(nextLine()).value(); }

    /** Ends it by Ctrl-C. Returns its exit code, and expects that it has shown all. */
    int end() {
        pthread_kill(mThread.native_handle(), SIGINT);
        mThread.join();
        close(mEnds[1]);
        EXPECT_EQ(mShown.get(), EOF);
        return mExitCode;
    }

  private:
    int mEnds[2] = {};
    int mExitCode = -1;
    std::ifstream mShown;
    std::thread mThread;
};

TEST(Stats, FollowsTheFile) {
    const test::TempDir folder;
    const std::string file = folder.write("s.jsonl", line("first"));
    Following stats({"stats", "--json", "--follow", "--file", file});
    const auto nextEvent = [&] { return stats.nextJson()["event"].asString(); };
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
    EXPECT_EQ(stats.end(), kExitOk);
}

const std::string kTail = "@831be687eb45bbc0@V1@2024-03-07-09-05-01-007";

/** Puts an archive of the process @p process into the folder a, as the daemon does. */
std::string moveIn(const test::TempDir& folder, const std::string& process) {
    const std::string name =
            "kavel_anr_" + process + "@831be687eb45bbc0@V1@2024-03-07-09-05-01-007";
    const std::string path = folder.write("new", gzipBytes(tarBytes(name, {{"a.txt", "1"}})));
    fs::rename(path, folder / ("a/" + name + ".tar.gz"));
    return name + ".tar.gz";
}

TEST(Watch, PrintsWhatComes) {
    const test::TempDir folder;
    fs::create_directory(folder / "a");
    moveIn(folder, "early");
    const std::string file = folder.write("s.jsonl", line("early"));
    for (const bool isJson : {false, true}) {
        std::vector<std::string> words = {"watch", "--dir", folder / "a", "--file", file};
        if (isJson) words.emplace_back("--json");
        Following watch(words);
        EXPECT_EQ(watch.nextLine(), "kavelctl: watching " + folder / "a" + "; end with Ctrl-C");
        std::ofstream(file, std::ios::app) << line("new");
        if (isJson) {
            EXPECT_EQ(watch.nextJson()["statistic"]["event"].asString(), "new");
        } else {
            EXPECT_EQ(watch.nextLine(), "T  statistic  new  ");
        }
        folder.write("a/kavel_no_archive", "");
        std::ofstream growing(
                folder / ("a/" + archiveName((isJson ? "kavel_anr_d" : "kavel_anr_e") + kTail, 1)));
        growing << "not complete" << std::flush;
        const std::string name = moveIn(folder, isJson ? "b" : "c");
        if (isJson) {
            EXPECT_EQ(watch.nextJson()["archive"]["process"].asString(), "b");
        } else {
            const std::string size = sizeText(fs::file_size(folder / ("a/" + name)));
            EXPECT_EQ(watch.nextLine(),
                      "2024-03-07T09:05:01.007+00:00  archive    anr  c  " + size + "  " + name);
        }
        EXPECT_EQ(watch.end(), kExitOk);
    }
}

TEST(Wait, EndsWithTheNextArchiveThatMatches) {
    const test::TempDir folder;
    fs::create_directory(folder / "a");
    moveIn(folder, "early");
    const std::vector<std::string> words = {"wait", "--dir", folder / "a"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), words.begin(), words.end());
        std::ostringstream out;
        const int code = runKavelctl(more, {out, out});
        return out.str() + std::to_string(code);
    };
    EXPECT_EQ(with({"--timeout", "0"}), "kavelctl: no archive in time\n1");
    EXPECT_EQ(with({"--dir=/none"}).back(), '2');  // given twice

    std::atomic<bool> isDone{false};
    const std::string name = moveIn(folder, "next");
    std::thread daemon([&] {
        while (!isDone) moveIn(folder, "next");
    });
    EXPECT_EQ(with({"--timeout=1", "--event", "crash"}), "kavelctl: no archive in time\n1");
    EXPECT_EQ(with({"--event", "anr", "--timeout", "60"}), name + "\n0");
    isDone = true;
    daemon.join();
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
