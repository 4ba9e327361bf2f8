#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace android::kavel::fake {

/** Returns the commands of runShell() since the last resetShell(), in order. */
std::vector<std::string> commands();
/** Returns the number of those that contain @p text. */
size_t commandCount(const std::string& text);
/** Waits until there are at least @p count commands that contain @p text. */
void awaitCommands(const std::string& text, size_t count);
/** Clears the commands. @p result returns the wait status of each further one; if null, 0. */
void resetShell(std::function<int(const std::string&)> result = nullptr);

/** What runShell() was given with a command. */
struct ShellLimits {
    std::chrono::milliseconds deadline;
    uint64_t fileSize;  ///< bytes
};
/** Those of the command that the calling thread runs, for the function above. */
ShellLimits shellLimits();

}  // namespace android::kavel::fake
