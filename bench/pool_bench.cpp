// Compares the thread pool with Boost.Asio's thread_pool: the cost of a small task that one thread
// commits and one of five runs. Also compares a burst of commands with xargs.

#include <atomic>
#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "dump/KavelThreadPool.h"
#include "platform/Shell.h"

namespace {

constexpr int kThreads = 5;
constexpr int kTasks = 20'000;

void awaitAll(const std::atomic<int>& done) {
    while (done.load(std::memory_order_acquire) < kTasks) std::this_thread::yield();
}

void kavelPool(benchmark::State& state) {
    std::KavelThreadPool pool("bench_tp_", kThreads, kThreads);
    pool.addThread(kThreads);
    for ([[maybe_unused]] auto _ : state) {
        std::atomic<int> done{0};
        for (int i = 0; i < kTasks; ++i) pool.commit([&done] { ++done; });
        awaitAll(done);
    }
    state.SetItemsProcessed(state.iterations() * kTasks);
}

void asioPool(benchmark::State& state) {
    boost::asio::thread_pool pool(kThreads);
    for ([[maybe_unused]] auto _ : state) {
        std::atomic<int> done{0};
        for (int i = 0; i < kTasks; ++i) boost::asio::post(pool, [&done] { ++done; });
        awaitAll(done);
    }
    state.SetItemsProcessed(state.iterations() * kTasks);
    pool.join();
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

BENCHMARK(kavelPool)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(asioPool)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(kavelBurst)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(xargsBurst)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
