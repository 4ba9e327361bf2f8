#pragma once

#include <functional>
#include <string>
#include <vector>

namespace android::kavel::fake {

/** Commands that went through runShell() since the last resetShell(), in order. */
std::vector<std::string> commands();
/** How many of them hold @p text. */
size_t commandCount(const std::string& text);
/** Blocks until at least @p count commands holding @p text have been run. */
void awaitCommands(const std::string& text, size_t count);
/** Forgets the commands; from now on each one's wait status is what @p result says, or 0. */
void resetShell(std::function<int(const std::string&)> result = nullptr);

}  // namespace android::kavel::fake
