#include "host/init/Accounts.h"

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <string_view>

namespace android::kavel::host {
namespace {

std::optional<uint32_t> parseId(const std::string& text) {
    uint32_t id = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), id);
    if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
    return id;
}

struct Capability {
    std::string_view name;
    int number;  ///< from <linux/capability.h>
};

constexpr std::array kCapabilities{
        Capability{"AUDIT_CONTROL", CAP_AUDIT_CONTROL},
        Capability{"AUDIT_READ", CAP_AUDIT_READ},
        Capability{"AUDIT_WRITE", CAP_AUDIT_WRITE},
        Capability{"BLOCK_SUSPEND", CAP_BLOCK_SUSPEND},
        Capability{"CHOWN", CAP_CHOWN},
        Capability{"DAC_OVERRIDE", CAP_DAC_OVERRIDE},
        Capability{"DAC_READ_SEARCH", CAP_DAC_READ_SEARCH},
        Capability{"FOWNER", CAP_FOWNER},
        Capability{"FSETID", CAP_FSETID},
        Capability{"IPC_LOCK", CAP_IPC_LOCK},
        Capability{"IPC_OWNER", CAP_IPC_OWNER},
        Capability{"KILL", CAP_KILL},
        Capability{"LEASE", CAP_LEASE},
        Capability{"LINUX_IMMUTABLE", CAP_LINUX_IMMUTABLE},
        Capability{"MAC_ADMIN", CAP_MAC_ADMIN},
        Capability{"MAC_OVERRIDE", CAP_MAC_OVERRIDE},
        Capability{"MKNOD", CAP_MKNOD},
        Capability{"NET_ADMIN", CAP_NET_ADMIN},
        Capability{"NET_BIND_SERVICE", CAP_NET_BIND_SERVICE},
        Capability{"NET_BROADCAST", CAP_NET_BROADCAST},
        Capability{"NET_RAW", CAP_NET_RAW},
        Capability{"SETFCAP", CAP_SETFCAP},
        Capability{"SETGID", CAP_SETGID},
        Capability{"SETPCAP", CAP_SETPCAP},
        Capability{"SETUID", CAP_SETUID},
        Capability{"SYSLOG", CAP_SYSLOG},
        Capability{"SYS_ADMIN", CAP_SYS_ADMIN},
        Capability{"SYS_BOOT", CAP_SYS_BOOT},
        Capability{"SYS_CHROOT", CAP_SYS_CHROOT},
        Capability{"SYS_MODULE", CAP_SYS_MODULE},
        Capability{"SYS_NICE", CAP_SYS_NICE},
        Capability{"SYS_PACCT", CAP_SYS_PACCT},
        Capability{"SYS_PTRACE", CAP_SYS_PTRACE},
        Capability{"SYS_RAWIO", CAP_SYS_RAWIO},
        Capability{"SYS_RESOURCE", CAP_SYS_RESOURCE},
        Capability{"SYS_TIME", CAP_SYS_TIME},
        Capability{"SYS_TTY_CONFIG", CAP_SYS_TTY_CONFIG},
        Capability{"WAKE_ALARM", CAP_WAKE_ALARM},
};

}  // namespace

std::optional<uid_t> findUser(const std::string& name) {
    if (const passwd* entry = getpwnam(name.c_str())) return entry->pw_uid;
    return parseId(name);
}

std::optional<gid_t> findGroup(const std::string& name) {
    if (const group* entry = getgrnam(name.c_str())) return entry->gr_gid;
    return parseId(name);
}

bool canSwitchUsers() {
    if (geteuid() != 0) return false;
    // Rows of user_namespaces(7): id inside, id outside, count.
    std::ifstream map("/proc/self/uid_map");
    uint64_t inside = 0;
    uint64_t outside = 0;
    uint64_t count = 0;
    uint64_t mapped = 0;
    while (map >> inside >> outside >> count) mapped += count;
    return mapped > 1;
}

std::optional<uint64_t> capabilityMask(const std::vector<std::string>& names,
                                       std::string* unknown) {
    uint64_t mask = 0;
    for (const std::string& name : names) {
        const auto* row = std::find_if(kCapabilities.begin(), kCapabilities.end(),
                                       [&](const auto& one) { return one.name == name; });
        if (row == kCapabilities.end()) {
            *unknown = name;
            return std::nullopt;
        }
        mask |= uint64_t{1} << row->number;
    }
    return mask;
}

}  // namespace android::kavel::host
