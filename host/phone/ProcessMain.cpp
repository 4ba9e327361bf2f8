// phone_process NAME: an idle process of the simulated phone, with its threads. On SIGQUIT it
// writes a stack dump to /data/anr, like the phone's runtime.

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>

#include "host/phone/ArtTrace.h"

namespace {

constexpr int kUsageError = 2;
constexpr char kProgram[] = "phone_process";

/** Runs this program again with NAME as its whole command line, which ps and pidof show. */
int becomeNamed(char* name) {
    char* const args[] = {name, nullptr};
    execv("/proc/self/exe", args);
    static_cast<void>(fprintf(stderr, "%s: %s: %s\n", kProgram, name, strerror(errno)));
    return 1;
}

void dumpStacks(const char* name) {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char text[32];
    static_cast<void>(strftime(text, sizeof(text), "%Y-%m-%d-%H-%M-%S", &local));
    const int pid = getpid();
    const std::string path = android::base::StringPrintf(
            "/data/anr/trace_%s_%s_%d", android::base::Basename(name).c_str(), text, pid);
    if (!android::kavel::host::writeArtTrace(path, std::to_string(pid))) {
        static_cast<void>(fprintf(stderr, "%s: cannot write %s\n", name, path.c_str()));
    }
}

/** Waits as long as the process lives, under @p name as the thread's name. */
void idle(std::string name) {
    prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
    for (;;) pause();
}

/** Starts the threads that /system/phone/text/threads lists for the process @p name. */
void startThreads(const std::string& name) {
    std::ifstream list("/system/phone/text/threads");
    const std::string pid = std::to_string(getpid());
    for (std::string process, thread; list >> process && std::getline(list >> std::ws, thread);) {
        if (process != name) continue;
        const size_t mark = thread.find("PID");
        if (mark != std::string::npos) thread.replace(mark, strlen("PID"), pid);
        std::thread(idle, thread).detach();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 1 || android::base::Basename(argv[0]) == kProgram) {
        if (argc == 2 && argv[1][0] != '-') return becomeNamed(argv[1]);
        const bool help = argc == 2 && strcmp(argv[1], "--help") == 0;
        static_cast<void>(
                fputs("Usage: phone_process NAME\n"
                      "Idles under the name NAME; dumps its stack on SIGQUIT.\n",
                      help ? stdout : stderr));
        return help ? 0 : kUsageError;
    }
    prctl(PR_SET_NAME, argv[0], 0, 0, 0);
    sigset_t quit;
    sigemptyset(&quit);
    sigaddset(&quit, SIGQUIT);
    sigprocmask(SIG_BLOCK, &quit, nullptr);
    startThreads(argv[0]);
    for (int number = 0; sigwait(&quit, &number) == 0;) dumpStacks(argv[0]);
    return 1;
}
