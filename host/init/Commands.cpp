#include "host/init/Commands.h"

#include <android-base/file.h>
#include <sys/stat.h>

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

std::string commandMkdir(const Words& words, const CommandContext& context) {
    // PATH MODE OWNER GROUP [encryption=...]; the encryption needs the phone's disk and is ignored.
    const auto mode = parseMode(words[2]);
    if (!mode) return "'" + words[2] + "' is not an octal mode";
    const char* path = words[1].c_str();
    if (mkdir(path, *mode) < 0 && errno != EEXIST) return errnoText("mkdir " + words[1]);
    std::string failure;
    if (context.switchUsers) failure = changeOwner(words[1], words[3], words[4]);
    if (!failure.empty()) return failure;
    // Also sets the mode of an existing folder, and does not depend on the umask.
    return chmod(path, *mode) == 0 ? std::string() : errnoText("chmod " + words[1]);
}

std::string commandChmod(const Words& words, const CommandContext&) {
    const auto mode = parseMode(words[1]);
    if (!mode) return "'" + words[1] + "' is not an octal mode";
    return chmod(words[2].c_str(), *mode) == 0 ? std::string() : errnoText("chmod " + words[2]);
}

std::string commandChown(const Words& words, const CommandContext& context) {
    return context.switchUsers ? changeOwner(words[3], words[1], words[2]) : std::string();
}

std::string commandCopy(const Words& words, const CommandContext&) {
    std::string content;
    if (!base::ReadFileToString(words[1], &content)) return errnoText("read " + words[1]);
    // Fails on a symbolic link, as init does.
    return base::WriteStringToFile(content, words[2]) ? std::string()
                                                      : errnoText("write " + words[2]);
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

// Commands that the phone's .rc files use.
constexpr std::array kCommands{
        CommandRow{"chmod", 2, 2, commandChmod},     CommandRow{"chown", 3, 3, commandChown},
        CommandRow{"copy", 2, 2, commandCopy},       CommandRow{"mkdir", 4, 5, commandMkdir},
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
