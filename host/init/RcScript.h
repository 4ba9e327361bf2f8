#pragma once

#include <sys/types.h>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace android::kavel::host {

/** A line of an .rc file that could not be used as it stands. */
struct RcProblem {
    std::string where;  ///< "file:line"
    std::string text;
};

/** A Unix socket that init creates and binds below /dev/socket for a service. */
struct RcSocket {
    std::string name;
    int type;  ///< SOCK_STREAM, SOCK_DGRAM or SOCK_SEQPACKET
    mode_t mode;
    std::string user = "root";
    std::string group = "root";
};

/** A `service NAME PATH ARGS...` block. */
struct RcService {
    std::string name;
    std::vector<std::string> args;  ///< path of the program first
    std::vector<std::string> classes{"default"};
    std::string user = "root";
    std::vector<std::string> groups;  ///< the first is the primary group; none means root
    std::optional<std::vector<std::string>> capabilities;  ///< upper case, without CAP_
    std::vector<RcSocket> sockets;
    std::vector<std::pair<std::string, std::string>> environment;
    std::chrono::seconds restartPeriod{5};
    bool oneshot = false;
    bool disabled = false;
    std::string where;

    bool inClass(std::string_view className) const;
};

/** One command of an action: its words, the command's name first. */
struct RcCommand {
    std::vector<std::string> words;
    std::string where;
};

/** An `on EVENT && property:NAME=VALUE ...` block. */
struct RcAction {
    std::string event;  ///< empty for an action that only properties trigger
    std::vector<std::pair<std::string, std::string>> properties;  ///< the value "*" is any value
    std::vector<RcCommand> commands;
};

/** What .rc files say, in the order in which they say it. */
struct RcScript {
    std::vector<RcService> services;
    std::vector<RcAction> actions;
    std::vector<RcProblem> problems;
};

/**
 * Reads @p text, the contents of the file @p name, and adds what it says to @p script. Never
 * fails: a line that cannot be used becomes a problem, and the rest is still read.
 */
void parseRc(std::string_view name, std::string_view text, RcScript* script);

/** @p text as octal file mode bits; none where it is not a mode. */
std::optional<mode_t> parseMode(std::string_view text);

}  // namespace android::kavel::host
