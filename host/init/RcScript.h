#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::host {

/** An invalid or unsupported line of an .rc file. */
struct RcProblem {
    std::string where;  ///< "file:line"
    std::string text;
};

/** A Unix stream socket that init creates and binds in /dev/socket for a service. */
struct RcSocket {
    std::string name;
    mode_t mode;
    std::string user = "root";
    std::string group = "root";
};

/** A `service NAME PATH ARGS...` block. */
struct RcService {
    std::string name;
    std::vector<std::string> args;  ///< path of the program first
    std::string className = "default";
    std::string user = "root";
    std::vector<std::string> groups;  ///< the first is the primary group; none means root
    std::optional<std::vector<std::string>> capabilities;  ///< as in the file, such as NET_ADMIN
    std::vector<RcSocket> sockets;
    bool oneshot = false;  ///< only for programs of the script folder; no .rc file uses it
    std::string where;
};

/** One command of an action. The first word is its name. */
struct RcCommand {
    std::vector<std::string> words;
    std::string where;
};

/** An `on TRIGGER` block. */
struct RcAction {
    std::string trigger;  ///< an event such as "boot", or "property:NAME=VALUE"
    std::vector<RcCommand> commands;
};

/** The contents of .rc files, in their order. */
struct RcScript {
    std::vector<RcService> services;
    std::vector<RcAction> actions;
    std::vector<RcProblem> problems;
};

/**
 * Parses @p text, the contents of the file @p name, and adds the result to @p script. An invalid
 * line becomes a problem and does not end the parsing. Supports the part of init's language that
 * the phone's files use: no quotes, no backslashes, one trigger for each action.
 */
void parseRc(std::string_view name, const std::string& text, RcScript* script);

/** @p text as octal file mode bits; nullopt if it is not a mode. */
std::optional<mode_t> parseMode(std::string_view text);

}  // namespace android::kavel::host
