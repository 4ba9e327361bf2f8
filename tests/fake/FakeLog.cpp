#include "tests/fake/FakeLog.h"

#include <algorithm>
#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

#include "platform/Mutex.h"

namespace android::kavel::fake {
namespace {

struct Captured {
    Mutex lock;
    std::vector<LogLine> lines GUARDED_BY(lock);
};

Captured& captured() {
    static auto* instance = new Captured;  // late threads log too
    return *instance;
}

void keep(int priority, const char* tag, const char* text) {
    MutexLock lock(captured().lock);
    // gettid() is not in the build machine's C library of the phone's build.
    captured().lines.push_back({priority, tag == nullptr ? "(null)" : tag, text,
                                std::this_thread::get_id(),
                                static_cast<pid_t>(syscall(SYS_gettid))});
}

/** Returns the tag that liblog gives a line without one: its text for the program's name. */
const std::string& defaultTag() {
    static const std::string tag = [] {
        __android_log_write(ANDROID_LOG_INFO, nullptr, "");
        return drainLog().back().tag;
    }();
    return tag;
}

}  // namespace

void captureLog() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(LogFunction<keep>::log);
    defaultTag();  // before other threads log
}

std::vector<LogLine> logLines() {
    MutexLock lock(captured().lock);
    return captured().lines;
}

void note(const std::string& text) {
    __android_log_write(ANDROID_LOG_VERBOSE, nullptr, text.c_str());
}

std::vector<LogLine> drainLog() {
    MutexLock lock(captured().lock);
    return std::exchange(captured().lines, {});
}

std::string shown(const LogLine& line) {
    constexpr char kLetters[] = "??VDIWEF";
    const bool isTagged = line.tag != defaultTag();
    return std::string(1, kLetters[line.priority]) + " " + (isTagged ? line.tag + ": " : "") +
           line.text;
}

std::vector<std::string> takeLog() {
    std::vector<std::string> taken;
    for (const LogLine& line : drainLog()) {
        if (line.thread != std::this_thread::get_id()) continue;
        taken.push_back(shown(line));
        if (taken.back().back() == '\n') taken.back().pop_back();
    }
    return taken;
}

size_t logCount(const std::string& text) {
    const std::vector<LogLine> lines = logLines();
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
        return line.text.find(text) != std::string::npos;
    }));
}

}  // namespace android::kavel::fake
