#include "tools/Commands.h"
#include "tools/StatusReader.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {kJsonOption};

constexpr std::string_view kDescription =
        "Shows the daemon's state: settings of the event types, event list, catches that are going "
        "on, thread pools, kernel channel, control socket, recovery, commands, counts since its "
        "start, the latest failures and the latest reports. The same as dumpsys "
        "KavelBinderService.\n"
        "Before its first report or setting the daemon has no settings, no event list and no "
        "pools, and says so; asking does not change that.";

constexpr std::string_view kDetails =
        "JSON: the keys are those of the text, in camel case; docs/interfaces.md has a table.\n";

int runStatus(const Arguments& arguments, const Output& output) {
    output.out << askDaemon(arguments.has("json"));
    return kExitOk;
}

}  // namespace

const Command kStatusCommand{"status",  "",      "show the daemon's state", kDescription, kOptions,
                             runStatus, kDetails};

}  // namespace android::kavel::tools
