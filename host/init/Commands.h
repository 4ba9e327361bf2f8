#pragma once

#include <functional>
#include <string>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/** Environment of the commands of an action. */
struct CommandContext {
    /** Sets a property. Returns the reason if it is refused, otherwise an empty text. */
    std::function<std::string(const std::string& name, const std::string& value)> setProperty;
    /** See canSwitchUsers(); if false, chown does nothing. */
    bool switchUsers = false;
};

/** Runs one command of an action. Returns the reason if it fails, otherwise an empty text. */
std::string runCommand(const RcCommand& command, const CommandContext& context);

}  // namespace android::kavel::host
