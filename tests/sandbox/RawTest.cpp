// Raw events from the command to the log, in a phone whose waits are twenty times shorter.

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <sys/socket.h>

#include <android-base/unique_fd.h>
#include <cutils/sockets.h>
#include <gmock/gmock.h>

#include "tests/sandbox/PhoneSession.h"

namespace android::kavel::test {
namespace {

constexpr const char* kOrdinary = "I nowEvent is not KeyEvent";

/** Lines of the control socket and its matcher, each behind its priority. */
std::vector<std::string> socketLines() {
    const std::string tag = " kavel_socket: ";
    std::vector<std::string> lines;
    for (const std::string& line : logLines()) {
        const size_t at = line.find(tag);
        if (at == std::string::npos) continue;
        lines.push_back(line.substr(at - 1, 1) + " " + line.substr(at + tag.size()));
    }
    return lines;
}

// Would catch a record that is lost, joined with the next one or changed; a connection that does
// not end, ends the daemon, or is followed by another one.
TEST(RawTest, OneConnectionIsServedToItsEnd) {
    ASSERT_TRUE(daemonIsUp());
    const int pid = daemonPid();
    FILE* const first = popen("kavelctl raw -", "we");
    ASSERT_NE(first, nullptr);
    const std::string longest = "1:" + std::string(251, 'n') + ":7";
    fprintf(first, "0x100300002:a:1000\nbad\n\n4298113025:b c:5000\n4298113027:d:7000\n%s\n",
            longest.c_str());
    fflush(first);
    ASSERT_TRUE(eventually([&] { return logCount("recv " + longest) == 1; }));

    // The backlog accepts this connection, and a record on it.
    const base::unique_fd second(socket_local_client(
            "/dev/socket/kavel_socket", ANDROID_SOCKET_NAMESPACE_FILESYSTEM, SOCK_STREAM));
    ASSERT_TRUE(second.ok());
    const std::string unread = "4298113030:unread:1";
    ASSERT_EQ(send(second.get(), unread.c_str(), unread.size() + 1, MSG_NOSIGNAL),
              static_cast<ssize_t>(unread.size() + 1));
    EXPECT_EQ(WEXITSTATUS(pclose(first)), 1) << "a line was bad";

    char byte = 0;
    EXPECT_EQ(recv(second.get(), &byte, 1, 0), -1) << "the daemon has closed its listening socket";
    EXPECT_EQ(errno, ECONNRESET);
    using testing::StartsWith;
    const auto end = StartsWith("I recv error fd ");
    EXPECT_THAT(socketLines(),
                testing::ElementsAre(
                        "I Listen result 0", StartsWith("I accept from fd "),
                        "I recv 4298113026:a:1000", kOrdinary, "I recv 4298113025:b c:5000",
                        "D found", "I Kavel found freezen event0 100300001 event1 100300002 ",
                        "I recv 4298113027:d:7000", "I recv " + longest, kOrdinary, end, end, end));
    const Result late = run({"kavelctl", "raw", "1", "late", "1"});
    EXPECT_EQ(late.status, 1);
    EXPECT_NE(late.output.find("cannot connect"), std::string::npos) << late.output;
    EXPECT_TRUE(daemonIsUp());
    EXPECT_EQ(daemonPid(), pid);
}

// Would catch operands that give other records than lines do, and a restarted daemon that reads
// none.
TEST(RawTest, EachTimeIsARecord) {
    size_t before = 0;
    const auto countListens = [] { return logCount("Listen result 0"); };
    ASSERT_TRUE(eventually([&] { return (before = countListens()) > 0; }));
    ASSERT_EQ(kill(daemonPid(), SIGKILL), 0);
    ASSERT_TRUE(eventually([&] { return countListens() > before; }));
    const Result sent = run({"kavelctl", "raw", "0x100300006", "x", "-1", "2"});
    EXPECT_EQ(sent.status, 0) << sent.output;
    EXPECT_NE(sent.output.find("2 records read by the daemon"), std::string::npos) << sent.output;
    ASSERT_TRUE(eventually([] {
        return logCount("Kavel found freezen event0 100300006 event1 100300006 ") == 1;
    }));
    EXPECT_EQ(logCount("recv 4298113030:x:-1"), 1U);
    EXPECT_EQ(logCount("recv 4298113030:x:2"), 1U);
}

}  // namespace
}  // namespace android::kavel::test
