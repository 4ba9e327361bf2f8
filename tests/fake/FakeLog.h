#pragma once

#include <string>
#include <thread>
#include <vector>

namespace android::kavel::fake {

/** One line that went to liblog. */
struct LogLine {
    int priority;
    std::string tag;  ///< the program's name where the daemon gave none, as liblog has it
    std::string text;
    std::thread::id thread;  ///< that logged it
};

/** From the first call on, log lines are kept here instead of being written. Any thread. */
void captureLog();
/** What has been logged since the last clearLog(). */
std::vector<LogLine> logLines();
void clearLog();
/**
 * What the calling thread has logged since then, each line as "I text" or "I TAG: text" and without
 * the newline at its end; all that was logged is cleared.
 */
std::vector<std::string> takeLog();
/** How many lines hold @p text. */
size_t logCount(const std::string& text);
/** Waits until at least @p count lines hold @p text; false where that takes too long. */
bool awaitLog(const std::string& text, size_t count = 1);

}  // namespace android::kavel::fake
