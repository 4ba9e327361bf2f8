#pragma once

#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <android/log.h>
#include <benchmark/benchmark.h>

namespace android::kavel::bench {

/** Returns the seconds of CPU that the calling thread, or the whole process, has used. */
inline double cpuSeconds(clockid_t clock) {
    timespec used = {};
    clock_gettime(clock, &used);
    return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

// What a job's required log lines cost: a benchmark captures them once, and writes them again
// without the job.

struct Line {
    int priority;
    std::optional<std::string> tag;
    std::string text;
};

/** The cheapest log function that makes a system call, as the phone's does. */
inline void writeOut(const __android_logger_data* data, const char* message) {
    static const int fd = memfd_create("log", MFD_CLOEXEC);
    char line[1280];
    const int length = snprintf(line, sizeof(line), "%d %s: %s\n", data->priority,
                                data->tag == nullptr ? "" : data->tag, message);
    benchmark::DoNotOptimize(pwrite(fd, line, static_cast<size_t>(length), 0));
}

inline void discard(const __android_logger_data* /*data*/, const char* /*message*/) {}

/** Returns the lines that @p job logs on this thread. The log function is discard() afterwards. */
template <typename Job>
std::vector<Line> linesOf(const Job& job) {
    static std::vector<Line> lines;
    __android_log_set_logger([](const __android_logger_data* data, const char* message) {
        lines.push_back({data->priority, std::nullopt, message});
        if (data->tag != nullptr) lines.back().tag = data->tag;
    });
    job();
    __android_log_set_logger(discard);
    return std::exchange(lines, {});
}

inline void write(const Line& line) {
    __android_log_print(line.priority, line.tag ? line.tag->c_str() : nullptr, "%s",
                        line.text.c_str());
}

}  // namespace android::kavel::bench
