// Stand-in for init: boots the simulated phone from its .rc files.

#include <getopt.h>

#include <cstdio>
#include <string>

#include "host/init/Accounts.h"
#include "host/init/Init.h"
#include "host/init/Processes.h"
#include "host/system/LogSink.h"
#include "host/system/TimeScale.h"

namespace {

constexpr int kUsageError = 2;

constexpr char kHelp[] =
        "Usage: kavel_init [--] [COMMAND ARGS...]\n"
        "\n"
        "Boots the simulated phone: reads /system/etc/init/*.rc, runs their actions, starts their\n"
        "services and serves the system properties. When sys.boot_completed is 1, it runs COMMAND\n"
        "in the foreground, and shuts down when COMMAND ends. Without COMMAND, it runs until\n"
        "SIGTERM or SIGINT.\n"
        "\n"
        "  -h, --help  this text\n"
        "\n"
        "Environment:\n"
        "  KAVEL_HOST_TIME_SCALE    divides restart periods\n"
        "  KAVEL_HOST_LOG_DIR       folder of the log files (default: /dev/log); in it, \"stdio\"\n"
        "                           receives the services' stdout and stderr\n"
        "  KAVEL_HOST_PROPERTY_DIR, KAVEL_HOST_PROPERTY_SOCKET\n"
        "                           the property store and its socket\n"
        "\n"
        "Exit status: COMMAND's, or 128 + N if signal N ended it; 127 or 126 if it cannot be run;\n"
        "1 if the phone does not boot; 2 for wrong usage.\n";

}  // namespace

int main(int argc, char** argv) {
    static constexpr option kOptions[] = {{"help", no_argument, nullptr, 'h'}, {}};
    // "+": the first word that is not an option begins the command.
    for (int c = 0; (c = getopt_long(argc, argv, "+h", kOptions, nullptr)) != -1;) {
        static_cast<void>(fputs(kHelp, c == 'h' ? stdout : stderr));
        return c == 'h' ? 0 : kUsageError;
    }

    android::kavel::host::closeInheritedDescriptors();
    android::kavel::host::InitSettings settings;
    settings.command.assign(argv + optind, argv + argc);
    settings.services.outputFile = android::kavel::host::logDirectory() + "/stdio";
    settings.services.switchUsers = android::kavel::host::canSwitchUsers();
    settings.services.timeScale = android::kavel::host::timeScale();
    return android::kavel::host::Init(std::move(settings)).run();
}
