// Replaces libcutils' function, which always returns -1 on a desktop.

#include <android-base/parseint.h>
#include <cutils/sockets.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

int android_get_control_socket(const char* name) {
    std::string variable = std::string(ANDROID_SOCKET_ENV_PREFIX) + name;
    // As in init, characters that are not allowed in the name of a variable become '_'.
    std::replace_if(
            variable.begin(), variable.end(), [](unsigned char c) { return isalnum(c) == 0; }, '_');
    const char* text = getenv(variable.c_str());
    int fd = -1;
    if (text == nullptr || !android::base::ParseInt(text, &fd, 0, INT_MAX)) return -1;

    sockaddr_un address{};
    socklen_t length = sizeof(address);
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        address.sun_family != AF_UNIX) {
        return -1;
    }
    const std::string path = std::string(ANDROID_SOCKET_DIR "/") + name;
    return strnlen(address.sun_path, sizeof(address.sun_path)) == path.size() &&
                           path.compare(0, path.size(), address.sun_path, path.size()) == 0
                   ? fd
                   : -1;
}
