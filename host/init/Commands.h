#pragma once

#include <functional>
#include <string>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/** What the commands of an action need, apart from the file system. */
struct CommandContext {
    /** Sets a property. Returns the reason if it is refused, otherwise an empty text. */
    std::function<std::string(const std::string& name, const std::string& value)> setProperty;
    /** See canSwitchUsers(); if false, chown does nothing. */
    bool switchUsers = false;
};

/** Carries out one command of an action. Returns what went wrong, or an empty text. */
std::string runCommand(const RcCommand& command, const CommandContext& context);

}  // namespace android::kavel::host
