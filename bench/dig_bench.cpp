// Compares the control socket's reader and matcher with a bare receive loop, and with one that also
// writes the required lines. Measures the CPU time of the receiving thread. The log function
// discards all lines.

#include <cstdio>
#include <string>

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <android/log.h>
#include <benchmark/benchmark.h>

#include "bench/LogLines.h"
#include "dig/ControlSocket.h"
#include "dig/dig.h"
#include "platform/Sleep.h"

namespace {

constexpr int kRecords = 10'000;
// As many as a socket's default buffer holds: the sender ends before the receiver starts, so that
// neither waits for the other.
constexpr int kBatch = 200;

// Two in five are key events, and each of those is a freeze: the most expensive mix.
constexpr const char* kIds[] = {"4298113025", "4298113026", "7", "4298113030", "8"};

/** Sends stdout and stderr to /dev/null, as init does for the daemon. */
class NullOutput {
  public:
    NullOutput() : mStdout(dup(STDOUT_FILENO)), mStderr(dup(STDERR_FILENO)) {
        fflush(stdout);
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        close(null);
    }
    ~NullOutput() {
        fflush(stdout);
        dup2(mStdout, STDOUT_FILENO);
        dup2(mStderr, STDERR_FILENO);
        close(mStdout);
        close(mStderr);
    }
    NullOutput(const NullOutput&) = delete;
    NullOutput& operator=(const NullOutput&) = delete;

  private:
    const int mStdout;
    const int mStderr;
};

double sReaderSeconds;

thread_local bool sHasStopped;

}  // namespace

// The daemon's reader sleeps after each failed receive; the first failure is the end of a batch.
void android::kavel::sleepSeconds(uint64_t /*seconds*/) {
    if (!sHasStopped) sReaderSeconds += android::kavel::bench::cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    sHasStopped = true;
}

namespace {

void* bareReader(void* fdPointer) {
    char buffer[256];
    while (recvfrom(*static_cast<int*>(fdPointer), buffer, sizeof(buffer), 0, nullptr, nullptr) >
           0) {
        benchmark::DoNotOptimize(buffer);
    }
    sReaderSeconds += android::kavel::bench::cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    return nullptr;
}

/** Only receives, and writes the required lines of an ordinary raw event. */
void* printingReader(void* fdPointer) {
    char buffer[256 + 1] = {};
    while (recvfrom(*static_cast<int*>(fdPointer), buffer, 256, 0, nullptr, nullptr) > 0) {
        __android_log_print(ANDROID_LOG_INFO, "kavel_socket", "recv %s", buffer);
        __android_log_write(ANDROID_LOG_INFO, "kavel_socket", "nowEvent is not KeyEvent");
        for (int event = 0; event < 2; ++event) {
            printf("zuvek id %lld  time %lld\n", 4298113025LL, 1'709'802'302LL);
        }
    }
    sReaderSeconds += android::kavel::bench::cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    return nullptr;
}

/** Sends batches of raw events to @p reader; as many are live as the matcher keeps. */
void receive(benchmark::State& state, void* (*reader)(void*) ) {
    constexpr int64_t kStep = 10'001 / 40;  // between the times of two events
    const NullOutput output;
    __android_log_set_logger(android::kavel::bench::discard);
    android::digInit();
    int64_t sent = 0;
    for ([[maybe_unused]] auto _ : state) {
        sReaderSeconds = 0;
        for (int batch = 0; batch < kRecords / kBatch; ++batch) {
            int ends[2];
            socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends);
            for (int i = 0; i < kBatch; ++i, ++sent) {
                const std::string record =
                        std::string(kIds[sent % 5]) + ":name:" + std::to_string(sent * kStep);
                if (send(ends[0], record.c_str(), record.size() + 1, MSG_DONTWAIT) < 0) {
                    state.SkipWithError("a batch does not fit the socket");
                }
            }
            close(ends[0]);
            pthread_t thread;
            pthread_create(&thread, nullptr, reader, &ends[1]);
            pthread_join(thread, nullptr);
            close(ends[1]);
        }
        state.SetIterationTime(sReaderSeconds);
    }
    state.counters["operations"] = kRecords;
    android::digExit();
}

void bareReceive(benchmark::State& state) {
    receive(state, bareReader);
}
void receiveAndPrint(benchmark::State& state) {
    receive(state, printingReader);
}
void fortyLive(benchmark::State& state) {
    receive(state, android::recvEvents);
}

BENCHMARK(bareReceive)->UseManualTime();
BENCHMARK(receiveAndPrint)->UseManualTime();
BENCHMARK(fortyLive)->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
