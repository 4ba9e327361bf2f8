#include "host/init/ControlSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>

#include "host/init/Accounts.h"

namespace android::kavel::host {
base::unique_fd createControlSocket(const RcSocket& spec, const std::string& directory,
                                    bool setOwner, std::string* error) {
    const std::string path = directory + "/" + spec.name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        *error = "path too long: " + path;
        return {};
    }
    memcpy(address.sun_path, path.c_str(), path.size());

    base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd.get() < 0) {
        *error = std::string("socket: ") + strerror(errno);
        return {};
    }
    unlink(path.c_str());
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the socket API needs it
    if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
        *error = "bind to " + path + ": " + strerror(errno);
        return {};
    }
    // The owner first: only init can connect before the mode is set.
    if (setOwner) *error = changeOwner(path, spec.user, spec.group);
    if (!error->empty()) return {};
    if (chmod(path.c_str(), spec.mode) < 0) {
        *error = std::string("chmod: ") + strerror(errno);
        return {};
    }
    return fd;
}

std::string controlSocketVariable(const std::string& socketName) {
    std::string variable = "ANDROID_SOCKET_" + socketName;
    // As on the phone, characters that are not allowed in the name of a variable become "_".
    for (char& c : variable) {
        if (isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    }
    return variable;
}

}  // namespace android::kavel::host
