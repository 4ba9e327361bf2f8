// Compares the thread pool with oneTBB's task_arena: the cost of a small task that one thread
// commits and one of five runs. Also compares a burst of commands with xargs.

#include <atomic>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include "dump/KavelThreadPool.h"
#include "platform/Shell.h"

namespace {

constexpr int kThreads = 5;
constexpr int kTasks = 5'000;

/** Times kTasks calls of @p commit, each with a task, up to the end of the last task. */
template <typename Commit>
void timeTasks(benchmark::State& state, const Commit& commit) {
    for ([[maybe_unused]] auto _ : state) {
        std::atomic<int> done{0};
        for (int i = 0; i < kTasks; ++i) commit([&done] { ++done; });
        while (done.load(std::memory_order_acquire) < kTasks) std::this_thread::yield();
    }
    state.counters["operations"] = kTasks;
}

void kavelPool(benchmark::State& state) {
    std::KavelThreadPool pool("bench_tp_", kThreads, kThreads);
    pool.addThread(kThreads);
    timeTasks(state, [&](auto task) { pool.commit(task); });
}

void tbbArena(benchmark::State& state) {
    // Without this, oneTBB has only as many threads as there are processors.
    const tbb::global_control control(tbb::global_control::max_allowed_parallelism, kThreads + 1);
    tbb::task_arena arena(kThreads, /*reserved_for_masters=*/0);
    timeTasks(state, [&](auto task) {
        const auto packaged = std::make_shared<std::packaged_task<void()>>(task);
        const std::future<void> result = packaged->get_future();
        arena.enqueue([packaged] { (*packaged)(); });
    });
}

/** A task with its future, which the calling thread runs itself. */
void directCall(benchmark::State& state) {
    timeTasks(state, [](auto task) {
        std::packaged_task<void()> packaged(task);
        const std::future<void> result = packaged.get_future();
        packaged();
    });
}

constexpr int kBurst = 30;

void kavelBurst(benchmark::State& state) {
    std::KavelThreadPool pool("bench_tp_", kThreads, kThreads);
    pool.addThread(kThreads);
    for ([[maybe_unused]] auto _ : state) {
        std::vector<std::future<void>> commands(kBurst);
        for (std::future<void>& command : commands) {
            command = pool.commit([] { android::kavel::runShell("true"); });
        }
        for (const std::future<void>& command : commands) command.wait();
    }
}

void xargsBurst(benchmark::State& state) {
    const std::string command = "seq " + std::to_string(kBurst) + " | xargs -n1 -P" +
                                std::to_string(kThreads) + " sh -c true";
    for ([[maybe_unused]] auto _ : state) {
        if (system(command.c_str()) != 0) state.SkipWithError("no xargs");
    }
}

/** The same processes without a pool: kThreads at once, and the next one at each end. */
void spawnBurst(benchmark::State& state) {
    char shell[] = "sh";
    char option[] = "-c";
    char command[] = "true";
    char* const arguments[] = {shell, option, command, nullptr};
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < kBurst + kThreads; ++i) {
            if (i >= kThreads) wait(nullptr);
            pid_t pid = 0;
            if (i < kBurst &&
                posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments, environ) != 0) {
                abort();
            }
        }
    }
}

BENCHMARK(kavelPool)->UseRealTime();
BENCHMARK(tbbArena)->UseRealTime();
BENCHMARK(directCall)->UseRealTime();
BENCHMARK(kavelBurst)->UseRealTime();
BENCHMARK(xargsBurst)->UseRealTime();
BENCHMARK(spawnBurst)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
