#include "host/init/Accounts.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>

namespace android::kavel::host {
namespace {

std::optional<uint32_t> parseId(const std::string& text) {
    uint32_t id = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), id);
    if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
    return id;
}

}  // namespace

std::optional<uid_t> findUser(const std::string& name) {
    if (const passwd* entry = getpwnam(name.c_str())) return entry->pw_uid;
    return parseId(name);
}

std::optional<gid_t> findGroup(const std::string& name) {
    if (const group* entry = getgrnam(name.c_str())) return entry->gr_gid;
    return parseId(name);
}

std::string changeOwner(const std::string& path, const std::string& user,
                        const std::string& group) {
    const auto uid = findUser(user);
    const auto gid = findGroup(group);
    if (!uid) return "unknown user " + user;
    if (!gid) return "unknown group " + group;
    return lchown(path.c_str(), *uid, *gid) == 0 ? "" : "chown " + path + ": " + strerror(errno);
}

bool canSwitchUsers() {
    if (geteuid() != 0) return false;
    // Lines of user_namespaces(7): id inside, id outside, count.
    std::ifstream map("/proc/self/uid_map");
    uint64_t inside = 0;
    uint64_t outside = 0;
    uint64_t count = 0;
    uint64_t mapped = 0;
    while (map >> inside >> outside >> count) mapped += count;
    return mapped > 1;
}

}  // namespace android::kavel::host
