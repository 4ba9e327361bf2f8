// Would catch a second connection that is served, a count of failures that a success resets, pauses
// of another length, a buffer that is cleared or cut between records or read beyond its end, a
// matcher that keeps its events, and a daemon that continues without its socket.

#include "dig/ControlSocket.h"

#include <cerrno>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <cutils/sockets.h>
#include <gtest/gtest.h>

#include "dig/DigStatus.h"
#include "dig/dig.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace {
/** What init gives, one answer after the other; a negative one is a missing socket. */
std::deque<int> sControlSockets;
}  // namespace

int android_get_control_socket(const char* name) {
    if (strcmp(name, "kavel_socket") != 0) return -1;
    const int fd = sControlSockets.front();
    sControlSockets.pop_front();
    errno = ENOENT;
    return fd;
}

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

/** The log without descriptors, and without the errno of a failed receive. */
Lines logOfSocket() {
    Lines lines;
    for (const fake::LogLine& line : fake::logLines()) {
        const size_t fd = line.text.find(" fd ");
        const size_t count = line.text.find(" numbytes");
        lines.push_back(line.text.substr(0, fd) +
                        (count == std::string::npos ? "" : line.text.substr(count)));
        EXPECT_EQ(line.tag, "kavel_socket");
    }
    return lines;
}

/** A socket that keeps packets apart, so that a test says what each receive returns. */
class ControlSocket : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        fake::resetTime(0);
        const std::string path = std::string(mFolder.path) + "/kavel_socket";
        path.copy(mAddress.sun_path, sizeof(mAddress.sun_path) - 1);
        ASSERT_EQ(bind(mListening, reinterpret_cast<sockaddr*>(&mAddress), sizeof(mAddress)), 0);
    }

    const TemporaryDir mFolder;
    sockaddr_un mAddress = {AF_UNIX, ""};
    const int mListening = socket(AF_UNIX, SOCK_SEQPACKET, 0);
};

TEST_F(ControlSocket, ServesOneConnection) {
    const std::string full = "4298113030:x:1" + std::string(242, '#');
    ASSERT_EQ(listen(mListening, 1), 0);
    base::unique_fd peer(socket(AF_UNIX, SOCK_SEQPACKET, 0));
    ASSERT_EQ(connect(peer, reinterpret_cast<sockaddr*>(&mAddress), sizeof(mAddress)), 0);
    // An empty packet is a failed receive. The end of the connection is the second and the third.
    for (const std::string& packet :
         {std::string("4298113030:x:1\0", 15), std::string(), std::string("abcdefghijklmno\0", 16),
          std::string("ab"), std::string("x\0y", 3), full, std::string("-1")}) {
        ASSERT_EQ(send(peer, packet.data(), packet.size(), MSG_DONTWAIT),
                  static_cast<ssize_t>(packet.size()));
    }
    peer.reset();
    sControlSockets = {-1, -1, mListening};
    digInit();
    const uint64_t records = digStatus().records;
    const uint64_t corrupt = digStatus().corrupt;
    testing::internal::CaptureStderr();
    EXPECT_EQ(kavel_socketLoop(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 7), "recv : ");
    EXPECT_EQ(digStatus().records, records + 6);
    EXPECT_EQ(digStatus().corrupt, corrupt + 3);

    const std::string noSocket = "Failed to get socket " + std::to_string(ENOENT);
    const std::string tooFew = "recv_content size < 3, corrupted raw data.";
    EXPECT_EQ(logOfSocket(),
              (Lines{noSocket, noSocket, "Listen result 0", "accept from", "recv 4298113030:x:1",
                     "recv error numbytes 0", "recv abcdefghijklmno", tooFew,
                     "recv abcdefghijklmno", tooFew, "recv x", tooFew, "recv " + full, "found",
                     "Kavel found freezen event0 100300006 event1 100300006 ",
                     "recv -1" + full.substr(2, 253), "nowEvent is not KeyEvent",
                     "recv error numbytes 0", "recv error numbytes 0"}));
    EXPECT_EQ(fake::sleeps(), (std::vector<uint64_t>{100, 100, 3, 3, 3}));
    EXPECT_EQ(fcntl(mListening, F_GETFD), -1);
    EXPECT_FALSE(data2Event(0x100300006, 1, "").isKeyEvent);
}

TEST_F(ControlSocket, EndsTheProcessWithoutAConnection) {
    const auto loop = [](int fd) {
        static const int socket = fd;
        atexit([] {
            fprintf(stderr, "closed by exec: %d\n", fcntl(socket, F_GETFD) & FD_CLOEXEC);
            for (const fake::LogLine& line : fake::logLines()) {
                fprintf(stderr, "%d %s\n", line.priority, line.text.c_str());
            }
        });
        sControlSockets = {fd};
        kavel_socketLoop();
    };
    const testing::ExitedWithCode failed(255);
    EXPECT_EXIT(loop(open("/dev/null", O_RDONLY)), failed,
                "listen: .*exec: 1\n4 Listen result -1\n$");
    fcntl(mListening, F_SETFL, O_NONBLOCK);
    EXPECT_EXIT(loop(mListening), failed, "4 accept from fd -1\n6 accept error ");
}

}  // namespace
}  // namespace android::kavel
