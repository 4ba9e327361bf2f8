#include "host/init/Commands.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "host/init/Accounts.h"

namespace android::kavel::host {
namespace {

using Words = std::vector<std::string>;

std::string errnoText(const std::string& what) {
    return what + ": " + strerror(errno);
}

std::string changeOwner(const std::string& path, const std::string& user, const std::string& group,
                        const CommandContext& context) {
    const auto uid = findUser(user);
    const auto gid = group.empty() ? std::optional<gid_t>(-1) : findGroup(group);
    if (!uid) return "unknown user " + user;
    if (!gid) return "unknown group " + group;
    if (!context.switchUsers || lchown(path.c_str(), *uid, *gid) == 0) return {};
    return errnoText("chown " + path);
}

std::string commandMkdir(const Words& words, const CommandContext& context) {
    Words plain = words;
    // Encryption and its key belong to the phone's disk.
    plain.erase(std::remove_if(plain.begin(), plain.end(),
                               [](const std::string& word) {
                                   return word.rfind("encryption=", 0) == 0 ||
                                          word.rfind("key=", 0) == 0;
                               }),
                plain.end());
    if (plain.size() < 2 || plain.size() > 5) return "mkdir takes PATH [MODE [OWNER [GROUP]]]";
    const std::string& path = plain[1];
    const auto mode = plain.size() > 2 ? parseMode(plain[2]) : 0755;
    if (!mode) return "'" + plain[2] + "' is not an octal mode";
    if (mkdir(path.c_str(), *mode) < 0 && errno != EEXIST) return errnoText("mkdir " + path);
    std::string failure = changeOwner(path, plain.size() > 3 ? plain[3] : "root",
                                      plain.size() > 4 ? plain[4] : "root", context);
    if (!failure.empty()) return failure;
    // A folder that was there already gets its mode too, and the umask has no say in it.
    return chmod(path.c_str(), *mode) == 0 ? std::string() : errnoText("chmod " + path);
}

std::string commandChmod(const Words& words, const CommandContext&) {
    const auto mode = parseMode(words[1]);
    if (!mode) return "'" + words[1] + "' is not an octal mode";
    return chmod(words[2].c_str(), *mode) == 0 ? std::string() : errnoText("chmod " + words[2]);
}

std::string commandChown(const Words& words, const CommandContext& context) {
    const bool hasGroup = words.size() == 4;
    return changeOwner(words.back(), words[1], hasGroup ? words[2] : "", context);
}

std::string writeWhole(const std::string& path, const std::string& content) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
    const base::unique_fd fd(open(path.c_str(), kFlags, 0600));
    if (fd.get() < 0) return errnoText("open " + path);
    return base::WriteStringToFd(content, fd.get()) ? std::string() : errnoText("write " + path);
}

std::string commandCopy(const Words& words, const CommandContext&) {
    std::string content;
    if (!base::ReadFileToString(words[1], &content)) return errnoText("read " + words[1]);
    return writeWhole(words[2], content);
}

std::string commandSetprop(const Words& words, const CommandContext& context) {
    return context.setProperty(words[1], words[2]);
}

struct CommandRow {
    std::string_view name;
    size_t minArgs;
    size_t maxArgs;
    std::string (*run)(const Words& words, const CommandContext& context);
};

// What the phone's files use.
constexpr std::array kCommands{
        CommandRow{"chmod", 2, 2, commandChmod},     CommandRow{"chown", 2, 3, commandChown},
        CommandRow{"copy", 2, 2, commandCopy},       CommandRow{"mkdir", 1, 6, commandMkdir},
        CommandRow{"setprop", 2, 2, commandSetprop},
};

}  // namespace

std::string runCommand(const RcCommand& command, const CommandContext& context) {
    const Words& words = command.words;
    const auto* row = std::find_if(kCommands.begin(), kCommands.end(),
                                   [&](const auto& one) { return one.name == words[0]; });
    if (row == kCommands.end()) return "unknown command";
    const size_t args = words.size() - 1;
    if (args < row->minArgs || args > row->maxArgs) {
        return "wrong number of arguments: " + std::to_string(args);
    }
    return row->run(words, context);
}

}  // namespace android::kavel::host
