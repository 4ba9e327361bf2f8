// Compares runShell() with system(), and with the least that a command needs: a new process that
// becomes a shell, and a wait for it.

#include <cstdlib>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

void spawnAndWait(benchmark::State& state) {
    char shell[] = "sh";
    char option[] = "-c";
    char command[] = "true";
    char* const arguments[] = {shell, option, command, nullptr};
    for ([[maybe_unused]] auto _ : state) {
        pid_t pid = 0;
        if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments, environ) != 0) abort();
        waitpid(pid, nullptr, 0);
    }
}

BENCHMARK(kavelShell)->UseRealTime();
BENCHMARK(librarySystem)->UseRealTime();
BENCHMARK(spawnAndWait)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
