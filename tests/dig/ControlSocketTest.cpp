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

#include "dig/dig.h"
#include "tests/dig/StdoutText.h"
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

/**
 * The loop behind a socket that keeps one packet apart from the next, so that a test says what each
 * receive returns; an empty packet is a failed receive.
 */
class ControlSocket : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        fake::resetTime(0);
        digInit();
        mAddress.sun_family = AF_UNIX;
        const std::string path = std::string(mFolder.path) + "/kavel_socket";
        path.copy(mAddress.sun_path, sizeof(mAddress.sun_path) - 1);
        mListening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        ASSERT_EQ(bind(mListening, address(), sizeof(mAddress)), 0);
    }

    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&mAddress); }

    void TearDown() override { digExit(); }

    /** Serves @p packets, then the end of the connection, all of it there before the loop starts.
     */
    void serve(const Lines& packets) {
        ASSERT_EQ(listen(mListening, 1), 0);
        base::unique_fd peer(connectPeer());
        for (const std::string& packet : packets) {
            ASSERT_EQ(::send(peer, packet.data(), packet.size(), MSG_DONTWAIT),
                      static_cast<ssize_t>(packet.size()));
        }
        peer.reset();
        sControlSockets = {-1, -1, mListening};
        EXPECT_EQ(kavel_socketLoop(), 0);
    }

    int connectPeer() const {
        const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        if (connect(fd, address(), sizeof(mAddress)) == 0) return fd;
        close(fd);
        return -1;
    }

    /** A record with its end, so that nothing of an earlier one follows. */
    static std::string whole(const std::string& record) { return record + '\0'; }

    static Lines linesWith(const std::string& text) {
        Lines lines;
        for (const fake::LogLine& line : fake::logLines()) {
            EXPECT_EQ(line.tag, "kavel_socket");
            if (line.text.find(text) != std::string::npos) lines.push_back(line.text);
        }
        return lines;
    }

    const test::StdoutText mStdout;
    const TemporaryDir mFolder;
    sockaddr_un mAddress = {};
    int mListening = -1;
};

// Would catch a second connection that is served, pauses of another length and a matcher that
// keeps what it knows.
TEST_F(ControlSocket, ServesOneConnection) {
    serve({whole("4298113030:x:1")});
    EXPECT_EQ(fake::sleeps(), (std::vector<uint64_t>{100, 100, 3, 3, 3}));
    EXPECT_EQ(linesWith("Failed to get socket"),
              Lines(2, "Failed to get socket " + std::to_string(ENOENT)));
    EXPECT_EQ(linesWith("Listen result"), Lines{"Listen result 0"});
    EXPECT_EQ(linesWith("accept from fd").size(), 1U);
    EXPECT_EQ(linesWith("recv 42"), Lines{"recv 4298113030:x:1"});
    const Lines errors = linesWith("recv error fd");
    EXPECT_EQ(errors.size(), 3U);
    for (const std::string& line : errors) EXPECT_NE(line.find(" numbytes 0"), std::string::npos);

    EXPECT_EQ(connectPeer(), -1);
    EXPECT_EQ(fcntl(mListening, F_GETFD), -1);
    EXPECT_FALSE(data2Event(0x100300006, 1, "").isKeyEvent);
}

// Would catch a count that a success resets: the third failure ends it, and no record after that.
TEST_F(ControlSocket, CountsFailuresOverTheWholeConnection) {
    serve({whole("1:a:1"), "", whole("2:a:1"), "", whole("3:a:1"), "", whole("4:a:1")});
    EXPECT_EQ(linesWith(":a:1"), (Lines{"recv 1:a:1", "recv 2:a:1", "recv 3:a:1"}));
    EXPECT_EQ(linesWith("recv error fd").size(), 3U);
}

// Would catch a buffer that is cleared or cut between records, and one that is read beyond its end.
TEST_F(ControlSocket, KeepsTheTailOfALongerRecord) {
    const std::string full = "4298113030:x:1" + std::string(242, '#');
    const std::string shown = full.substr(2, 253);
    serve({whole("abcdef"), "ab", std::string("x\0y", 3), full, "-1"});
    EXPECT_EQ(linesWith("recv "), (Lines{"recv abcdef", "recv abcdef", "recv x", "recv " + full,
                                         "recv -1" + shown, linesWith("recv error")[0],
                                         linesWith("recv error")[1], linesWith("recv error")[2]}));
    EXPECT_EQ(fake::logCount("corrupted raw data"), 3U);
    EXPECT_EQ(fake::logCount("nowEvent is not KeyEvent"), 1U) << "-1, and what was left behind it";
}

// Would catch a daemon that stays half alive without its socket.
TEST_F(ControlSocket, EndsTheProcessWithoutAConnection) {
    sControlSockets = {open("/dev/null", O_RDONLY | O_CLOEXEC)};
    EXPECT_EXIT(kavel_socketLoop(), testing::ExitedWithCode(255), "listen: ");

    fcntl(mListening, F_SETFL, O_NONBLOCK);
    sControlSockets = {mListening};
    EXPECT_EXIT(
            {
                atexit([] {
                    for (const fake::LogLine& line : fake::logLines()) {
                        fprintf(stderr, "%d %s\n", line.priority, line.text.c_str());
                    }
                });
                kavel_socketLoop();
            },
            testing::ExitedWithCode(255), "4 accept from fd -1\n6 accept error ");
}

}  // namespace
}  // namespace android::kavel
