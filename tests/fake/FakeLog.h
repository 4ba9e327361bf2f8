#pragma once

#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace android::kavel::fake {

/** One captured log line. */
struct LogLine {
    int priority;
    std::string tag;  ///< if the daemon gave none: the program's name, from liblog
    std::string text;
    std::thread::id thread;
    pid_t tid;  ///< its id in the kernel, which no later thread has
};

/** Captures all further log lines of all threads, which are not written. */
void captureLog();
/** Returns the lines since the last clearLog(). */
std::vector<LogLine> logLines();
void clearLog();
/** The same, and clears it in the same step, so that no line of another thread is lost. */
std::vector<LogLine> drainLog();
/** Logs "V TEXT": what a fake does has its place among the other lines. */
void note(const std::string& text);
/** The line as "I text" or "I TAG: text", with the newline at its end if it has one. */
std::string shown(const LogLine& line);
/**
 * Returns the lines of the calling thread since the last clearLog(), each as "I text" or
 * "I TAG: text" without a newline at its end. Clears the lines of all threads.
 */
std::vector<std::string> takeLog();
/** Returns the number of lines that contain @p text. */
size_t logCount(const std::string& text);
/** Waits until at least @p count lines contain @p text. Returns false if that takes too long. */
bool awaitLog(const std::string& text, size_t count = 1);

}  // namespace android::kavel::fake
