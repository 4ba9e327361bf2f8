#include "tools/RawEventSender.h"

#include <cutils/sockets.h>
#include <poll.h>
#include <sys/socket.h>

#include <iostream>
#include <thread>

#include "tests/fake/TempDir.h"
#include "tests/tools/RunKavelctl.h"

namespace android::kavel::tools {
namespace {

using std::chrono::milliseconds;

class RawEventSenderTest : public testing::Test {
  protected:
    base::unique_fd listen() const {
        return base::unique_fd(socket_local_server(
                path.c_str(), ANDROID_SOCKET_NAMESPACE_FILESYSTEM, SOCK_STREAM));
    }

    const test::TempDir folder;
    const std::string path = folder / "s";
};

base::unique_fd acceptFrom(const base::unique_fd& server) {
    return base::unique_fd(accept4(server.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

std::string whyLost(RawEventSender& sender) {
    try {
        sender.send("1:a:1");
    } catch (const CommandError& error) {
        return error.what();
    }
    return "not lost";
}

// Catches records that one receive returns together; this one waits for as much as it can get.
TEST_F(RawEventSenderTest, EachRecordIsAReceiveOfItsOwn) {
    const base::unique_fd server = listen();
    std::vector<std::string> received;
    std::thread reader([&] {
        const base::unique_fd peer = acceptFrom(server);
        char buffer[256];
        while (const ssize_t size = recv(peer.get(), buffer, sizeof(buffer), MSG_WAITALL)) {
            received.emplace_back(buffer, static_cast<size_t>(size));
        }
    });
    const std::vector<std::string> records = {"1:a:1", "2:bc:2", std::string(255, 'x'), "3:d:3"};
    {
        RawEventSender sender(path, std::chrono::seconds(60));
        for (const std::string& record : records) sender.send(record);
        EXPECT_EQ(sender.sent(), records.size());
    }
    reader.join();
    ASSERT_EQ(received.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) EXPECT_EQ(received[i], records[i] + '\0');
}

// Catches a record that nobody read and that passes for a sent one, and a wait without end.
TEST_F(RawEventSenderTest, SaysWhatIsLost) {
    RawEventSender sender(path, milliseconds(50));
    EXPECT_TRUE(contains(whyLost(sender), "cannot connect to " + path + ": No such file"));

    const base::unique_fd server = listen();
    RawEventSender waiting(path, milliseconds(50));
    EXPECT_TRUE(contains(whyLost(waiting), "record 1 is lost: not read within"));

    RawEventSender second(path, std::chrono::seconds(60));
    std::thread reader([&] {
        acceptFrom(server).reset();
        const base::unique_fd peer = acceptFrom(server);
        char byte = 0;
        EXPECT_EQ(recv(peer.get(), &byte, 1, 0), 1);
        EXPECT_EQ(recv(peer.get(), &byte, 1, 0), 1) << "the rest of the first stays unread";
    });
    const std::string reset = whyLost(second);
    EXPECT_TRUE(contains(reset, "record 1 is lost: Connection reset")) << reset;
    EXPECT_TRUE(contains(whyLost(second), "record 1 is lost: Broken pipe"));
    EXPECT_EQ(second.sent(), 0U);
    reader.join();
}

// Catches a bad line that goes unnamed, and a connection that is used up for nothing.
TEST(Raw, NamesEachBadLine) {
    using std::string_view_literals::operator""sv;
    std::istringstream in{std::string("\n1:a\nx:a:1\n1::1\n1:a:b:1\n1:a\0b:1\n1:a:\n"sv)};
    std::streambuf* const before = std::cin.rdbuf(in.rdbuf());
    const Result result = run({"raw", "-"});
    std::cin.rdbuf(before);
    EXPECT_EQ(result.exitCode, kExitRefused);
    EXPECT_EQ(result.out, "0 records read by the daemon\n");
    for (const char* text : {"exactly one connection", "line 2: not ID:NAME:TIME",
                             "line 3: ID takes", "line 4: NAME is empty", "line 5: NAME 'a:b'",
                             "line 6: NAME 'a\\x00b'", "line 7: TIME takes"}) {
        EXPECT_TRUE(contains(result.err, text)) << text << " in " << result.err;
    }
    EXPECT_FALSE(contains(result.err, "cannot connect"));
}

}  // namespace
}  // namespace android::kavel::tools
