// Would catch records that one receive returns together, a record that nobody read and that passes
// for a sent one, and a wait without end.

#include "tools/RawEventSender.h"

#include <cutils/sockets.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <thread>
#include <vector>

#include "tests/fake/TempDir.h"
#include "tools/CommandLine.h"

namespace android::kavel::tools {
namespace {

base::unique_fd acceptFrom(const base::unique_fd& server) {
    return base::unique_fd(accept4(server.get(), nullptr, nullptr, SOCK_CLOEXEC));
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
        acceptFrom(server).reset();
        const base::unique_fd peer = acceptFrom(server);
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
