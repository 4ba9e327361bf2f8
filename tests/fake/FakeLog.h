#pragma once

#include <string>
#include <thread>
#include <vector>

#include <android/log.h>
#include <sys/types.h>

#include "tests/fake/Eventually.h"

namespace android::kavel::fake {

/** One captured log line. */
struct LogLine {
    int priority;
    std::string tag;  ///< if the daemon gave none: the program's name, from liblog
    std::string text;
    std::thread::id thread;
    pid_t tid;  ///< its id in the kernel, which no later thread has
};

/**
 * Adapts @p Keep to __android_log_set_logger(), whose argument differs between releases of liblog.
 * The tag is null if there is none.
 */
template <void (*Keep)(int priority, const char* tag, const char* text)>
struct LogFunction {
    template <class Message>
    static void log(const Message* message) {
        Keep(message->priority, message->tag, message->message);
    }
    template <class Data>
    static void log(const Data* data, const char* text) {
        Keep(data->priority, data->tag, text);
    }
};

/** Captures all further log lines of all threads, which are not written. */
void captureLog();
/** Returns the lines since the last clearLog(). */
std::vector<LogLine> logLines();
/** The same, and clears them in the same step, so that no line of another thread is lost. */
std::vector<LogLine> drainLog();
inline void clearLog() {
    drainLog();
}
/** Logs "V TEXT": what a fake does has its place among the other lines. */
void note(const std::string& text);
/** The line as "I text" or "I TAG: text", with the newline at its end if it has one. */
std::string shown(const LogLine& line);
/**
 * Returns shown() of the lines of the calling thread since the last clearLog(), without a newline
 * at the end. Clears the lines of all threads.
 */
std::vector<std::string> takeLog();
/** Returns the number of lines that contain @p text. */
size_t logCount(const std::string& text);
/** Waits until at least @p count lines contain @p text. Returns false if that takes too long. */
inline bool awaitLog(const std::string& text, size_t count = 1) {
    return test::eventually([&] { return logCount(text) >= count; });
}

}  // namespace android::kavel::fake
