// Compares the handling of an enabled event without logs, with a full event list, with the cost of
// its log lines alone. Also measures the memory that remains in use after each event.

#include <optional>
#include <string>
#include <vector>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <android/log.h>
#include <benchmark/benchmark.h>

#include "event/KavelTimestamp.h"
#include "handler/KavelEventHandler.h"

namespace {

using android::KavelEventHandler;
using android::kavel::generateKavelTimestamp;

constexpr long kEventWithoutLogs = 0x402;
constexpr int kListBound = 31;

struct Line {
    int priority;
    std::optional<std::string> tag;
    std::string text;
    bool isListLine;
};

std::vector<Line> sLines;

void keep(const __android_logger_data* data, const char* message) {
    const std::string text = message;
    sLines.push_back({data->priority, std::nullopt, text,
                      text.find("showAllKavelEvents") != std::string::npos});
    if (data->tag != nullptr) sLines.back().tag = data->tag;
}

/** The cheapest log function that makes a system call. */
void writeOut(const __android_logger_data* data, const char* message) {
    static const int fd = memfd_create("log", MFD_CLOEXEC);
    char line[1280];
    const int length = snprintf(line, sizeof(line), "%d %s: %s\n", data->priority,
                                data->tag == nullptr ? "" : data->tag, message);
    benchmark::DoNotOptimize(pwrite(fd, line, static_cast<size_t>(length), 0));
}

void discard(const __android_logger_data* /*data*/, const char* /*message*/) {}

void handleOne() {
    KavelEventHandler::getInstance().report({kEventWithoutLogs, 0, 1, 1, ""});
}

void fillList() {
    KavelEventHandler::getInstance().parameters().updateEventParams(kEventWithoutLogs, true, 0);
    for (int i = 0; i < kListBound; ++i) handleOne();
}

void handleEvent(benchmark::State& state) {
    __android_log_set_logger(discard);
    fillList();
    __android_log_set_logger(writeOut);
    for ([[maybe_unused]] auto _ : state) handleOne();
}

/** Writes the same lines from the same values, without the handling. */
void logLinesAlone(benchmark::State& state) {
    __android_log_set_logger(discard);
    fillList();
    sLines.clear();
    __android_log_set_logger(keep);
    handleOne();
    __android_log_set_logger(writeOut);
    const android::KavelTimestamp time = generateKavelTimestamp();
    for ([[maybe_unused]] auto _ : state) {
        for (const Line& line : sLines) {
            const char* const tag = line.tag ? line.tag->c_str() : nullptr;
            if (!line.isListLine) {
                __android_log_print(line.priority, tag, "%s", line.text.c_str());
                continue;
            }
            __android_log_print(line.priority, tag,
                                "[dravo_kavel showAllKavelEvents]:eventID: %ld logInfo: %d "
                                "timestamp: %d-%02d-%02d %02d:%02d:%02d %03d.\n",
                                kEventWithoutLogs, 0, time.tm_year + 1900, time.tm_mon + 1,
                                time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                                time.millisecond);
        }
    }
}

void keptPerEvent(benchmark::State& state) {
    __android_log_set_logger(discard);
    fillList();
    const size_t before = mallinfo2().uordblks;
    for ([[maybe_unused]] auto _ : state) handleOne();
    const auto kept = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
    state.counters["bytes_kept_per_event"] = kept / static_cast<double>(state.iterations());
}

BENCHMARK(handleEvent)->Unit(benchmark::kMicrosecond);
BENCHMARK(logLinesAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(keptPerEvent)->Iterations(1'000'000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
