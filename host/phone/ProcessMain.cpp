// phone_process NAME: an idle process of the simulated phone. On SIGQUIT it writes a stack dump to
// /data/anr, like the phone's runtime.

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

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
    const std::string content = android::base::StringPrintf(
            "----- pid %d at %s -----\nCmd line: %s\n\"main\" prio=5 tid=1 Native sysTid=%d\n"
            "  at android.os.MessageQueue.nativePollOnce(Native method)\n----- end %d -----\n",
            pid, text, name, pid, pid);
    if (!android::base::WriteStringToFile(content, path)) {
        static_cast<void>(fprintf(stderr, "%s: %s: %s\n", name, path.c_str(), strerror(errno)));
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
    for (int number = 0; sigwait(&quit, &number) == 0;) dumpStacks(argv[0]);
    return 1;
}
