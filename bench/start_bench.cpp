// Compares the time from exec to a registered service of the daemon with that of an empty process
// with the same libraries and number of threads. Runs in the simulated phone without its daemon:
// start_bench DAEMON EMPTY_PROCESS STARTS.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <binder/IServiceManager.h>

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr const char* kEmptyService = "EmptyProcessService";

size_t threadsOf(pid_t pid) {
    const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(pid) + "/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

bool isRegistered(const String16& service) {
    return defaultServiceManager()->checkService(service) != nullptr;
}

/**
 * Starts a program and returns the time until its @p service is registered. Stores its number of
 * threads, and kills it.
 */
Seconds timeStart(std::vector<std::string> arguments, const char* service, size_t* threads) {
    const String16 name(service);
    if (isRegistered(name)) {
        fprintf(stderr, "start_bench: %s already runs\n", service);
        exit(1);
    }
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    pid_t pid = 0;
    const Clock::time_point start = Clock::now();
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) abort();
    while (!isRegistered(name)) std::this_thread::sleep_for(std::chrono::microseconds(100));
    const Seconds taken = Clock::now() - start;
    *threads = threadsOf(pid);

    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    posix_spawn_file_actions_destroy(&actions);
    while (isRegistered(name)) std::this_thread::yield();
    return taken;
}

void print(const char* name, const std::vector<double>& values) {
    printf("measure %s", name);
    for (const double value : values) printf(" %g", value);
    printf("\n");
}

void run(const char* daemon, const char* empty, int starts) {
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int i = 0; i < starts; ++i) {
        size_t threads = 0;
        ours.push_back(timeStart({daemon}, "KavelBinderService", &threads).count());
        const std::string count = std::to_string(threads);
        theirs.push_back(timeStart({empty, count, kEmptyService}, kEmptyService, &threads).count());
    }
    print("start", ours);
    print("start_empty", theirs);
}

}  // namespace
}  // namespace android::kavel

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    android::kavel::run(argv[1], argv[2], atoi(argv[3]));
    return 0;
}
