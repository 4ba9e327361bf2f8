#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel::host {

/** Whence and when a message comes. */
struct LogOrigin {
    tm time; /**< Local time. */
    int milliseconds;
    int pid;
    int tid;
};

/**
 * The message in logcat's "threadtime" form: the same prefix before each of its lines and a
 * newline behind each. Pure.
 */
std::string formatThreadtime(const LogOrigin& origin, int priority, std::string_view tag,
                             std::string_view message);

/** The parts of one such line, without its newline; views into it. */
struct LogLine {
    std::string_view time; /**< "MM-DD HH:MM:SS.mmm" */
    int pid = 0;
    int tid = 0;
    char priority = '?';
    std::string_view tag;
    std::string_view message;
};
std::optional<LogLine> parseThreadtime(std::string_view line);

/** The time of a line as text that sorts by time within a year. Empty for other text. */
std::string_view timeOf(std::string_view line);

/** V, D, I, W, E, F or S for an android_LogPriority, '?' for others; and back (0 for others). */
char priorityLetter(int priority);
int priorityOf(char letter);

}  // namespace android::kavel::host
