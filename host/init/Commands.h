#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/** What the commands of an action act on, apart from the file system. */
struct CommandContext {
    /** "start", "stop" or "restart" for a service; false where that failed. */
    std::function<bool(std::string_view action, const std::string& service)> control;
    /** Sets a property; the reason where it is refused, otherwise empty. */
    std::function<std::string(const std::string& name, const std::string& value)> setProperty;
    /** The value of a property; empty where it is not set. */
    std::function<std::string(const std::string& name)> getProperty;
    /** See canSwitchUsers(); without it nothing changes its owner. */
    bool switchUsers = false;
};

/** Carries out one command of an action. What went wrong, or an empty text. */
std::string runCommand(const RcCommand& command, const CommandContext& context);

}  // namespace android::kavel::host
