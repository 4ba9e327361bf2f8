#include "host/init/ControlSocket.h"

#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "host/init/Accounts.h"

namespace android::kavel::host {
namespace {

int connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
    close(fd);
    return -1;
}

// Catches a socket that is not bound where it should be, or left unusable by an earlier boot.
TEST(ControlSocket, CarriesBytesAfterASecondBoot) {
    const TemporaryDir dir;
    const RcSocket spec{"ctl", SOCK_STREAM, 0640, "0", "1"};
    const bool giveAway = canSwitchUsers();
    for (int boot = 0; boot < 2; ++boot) {
        std::string error;
        const auto fd = createControlSocket(spec, dir.path, giveAway, &error);
        ASSERT_TRUE(fd.ok()) << error;
        const std::string path = std::string(dir.path) + "/ctl";
        struct stat status {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640U);
        if (giveAway) {
            EXPECT_EQ(status.st_gid, 1U);
        }

        EXPECT_EQ(connectTo(path), -1) << "listening is the service's business";
        ASSERT_EQ(listen(fd.get(), 1), 0);
        const base::unique_fd client(connectTo(path));
        const base::unique_fd server(accept(fd.get(), nullptr, nullptr));
        ASSERT_EQ(write(client.get(), "x", 1), 1);
        char byte = 0;
        ASSERT_EQ(read(server.get(), &byte, 1), 1);
        EXPECT_EQ(byte, 'x');
    }
}

// Catches failures without a reason, and sockets that stay behind with the wrong owner.
TEST(ControlSocket, SaysWhatIsWrong) {
    const TemporaryDir dir;
    std::string error;
    const RcSocket plain{"ctl", SOCK_STREAM, 0600};
    EXPECT_FALSE(createControlSocket(plain, std::string(dir.path) + "/none", false, &error).ok());
    EXPECT_NE(error.find("bind"), std::string::npos) << error;
    EXPECT_FALSE(createControlSocket(plain, std::string(200, 'x'), false, &error).ok());
    EXPECT_NE(error.find("too long"), std::string::npos) << error;
    const RcSocket stranger{"ctl", SOCK_STREAM, 0600, "nosuchuser", "root"};
    EXPECT_FALSE(createControlSocket(stranger, dir.path, true, &error).ok());
    EXPECT_NE(error.find("nosuchuser"), std::string::npos) << error;
}

}  // namespace
}  // namespace android::kavel::host
