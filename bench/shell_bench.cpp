// Compares runShell() with system() for one command.

#include <cstdlib>

#include <benchmark/benchmark.h>

#include "platform/Shell.h"

namespace {

void kavelShell(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(android::kavel::runShell("true"));
    }
}

void librarySystem(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(system("true"));
}

BENCHMARK(kavelShell)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(librarySystem)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
