// Compares the handling of an enabled event without logs, with a full event list, with the cost of
// its log lines alone. Also measures the memory that remains in use after each event, and how the
// cost grows with the event list.

#include <cstdlib>
#include <memory>
#include <string>

#include <malloc.h>

#include <benchmark/benchmark.h>

#include "bench/LogLines.h"
#include "event/KavelTimestamp.h"
#include "handler/EventList.h"
#include "handler/KavelEventHandler.h"
#include "tests/fake/FakeTime.h"

namespace {

using namespace android;         // NOLINT(google-build-using-namespace): the only file
using namespace android::kavel;  // NOLINT(google-build-using-namespace)
using bench::Line;

constexpr long kEventWithoutLogs = 0x402;
constexpr long kAbnormalAction = 0xF01;
constexpr int kListBound = 31;

void handleOne(KavelEventHandler& handler) {
    handler.report({kEventWithoutLogs, 0, 1, 1, ""});
}

void fillList(KavelEventHandler& handler, int records) {
    __android_log_set_logger(bench::discard);
    handler.parameters().updateEventParams(kEventWithoutLogs, true, 0);
    for (int i = 0; i < records; ++i) handleOne(handler);
}

/** The handler with a full list. */
KavelEventHandler& fullHandler() {
    fillList(KavelEventHandler::getInstance(), kListBound);
    return KavelEventHandler::getInstance();
}

void handleEvent(benchmark::State& state) {
    KavelEventHandler& handler = fullHandler();
    __android_log_set_logger(bench::writeOut);
    for ([[maybe_unused]] auto _ : state) handleOne(handler);
}

/** Writes the same lines without the handling. The lines of the list are formatted from values. */
void logLinesAlone(benchmark::State& state) {
    KavelEventHandler& handler = fullHandler();
    const std::vector<Line> lines = bench::linesOf([&] { handleOne(handler); });
    const KavelTimestamp time = generateKavelTimestamp();
    __android_log_set_logger(bench::writeOut);
    for ([[maybe_unused]] auto _ : state) {
        for (const Line& line : lines) {
            if (line.text.find("showAllKavelEvents") == std::string::npos) {
                bench::write(line);
                continue;
            }
            __android_log_print(line.priority, line.tag->c_str(),
                                "[dravo_kavel showAllKavelEvents]:eventID: %ld logInfo: %d "
                                "timestamp: %d-%02d-%02d %02d:%02d:%02d %03d.\n",
                                kEventWithoutLogs, 0, time.tm_year + 1900, time.tm_mon + 1,
                                time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                                time.millisecond);
        }
    }
}

void keptPerEvent(benchmark::State& state) {
    KavelEventHandler& handler = fullHandler();
    const size_t before = mallinfo2().uordblks;
    for ([[maybe_unused]] auto _ : state) handleOne(handler);
    const auto kept = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
    state.counters["bytes"] = kept / static_cast<double>(state.iterations());
}

/** Takes the CPU time of a job once for each iteration; the rest of @p around is not counted. */
template <typename Around>
void timeAlone(benchmark::State& state, const Around& around) {
    for ([[maybe_unused]] auto _ : state) {
        around([&state](const auto& job) {
            __android_log_set_logger(bench::writeOut);
            const double start = bench::cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            job();
            state.SetIterationTime(bench::cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - start);
        });
    }
}

/** A report that is the last one of a list of state.range(0) records. */
void report(benchmark::State& state) {
    timeAlone(state, [&](const auto& time) {
        KavelEventHandler handler;
        fillList(handler, static_cast<int>(state.range(0)) - 1);
        time([&] { handleOne(handler); });
    });
}

/** An abnormal action that only the last of state.range(0) earlier ones makes a duplicate. */
void abnormalAction(benchmark::State& state) {
    const auto record = [] {
        const KavelTimestamp now = generateKavelTimestamp();
        const KavelExtraInfo extra;
        return std::make_shared<KavelEvent>(kAbnormalAction, &now, 0, 1, 1, &extra);
    };
    timeAlone(state, [&](const auto& time) {
        __android_log_set_logger(bench::discard);
        EventList list;
        for (int64_t i = 0; i < state.range(0); ++i) {
            fake::advance(60);
            if (!list.place(record())) abort();
        }
        time([&] {
            if (list.place(record())) abort();
        });
    });
}

BENCHMARK(handleEvent);
BENCHMARK(logLinesAlone);
BENCHMARK(keptPerEvent)->Iterations(10'000);
BENCHMARK(report)->Arg(1)->Arg(4)->Arg(8)->Arg(16)->Arg(24)->Arg(31)->UseManualTime();
BENCHMARK(abnormalAction)->Arg(1)->Arg(4)->Arg(8)->Arg(16)->Arg(24)->Arg(31)->UseManualTime();

}  // namespace

// The phone's C library takes the time zone from a property. Without TZ, glibc looks at the zone
// file for each time stamp.
int main(int argc, char** argv) {
    setenv("TZ", "UTC0", 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
