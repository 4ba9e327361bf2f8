#include <chrono>

#include "tools/ArchiveArrivals.h"
#include "tools/ArchiveFilter.h"
#include "tools/ArchiveReport.h"
#include "tools/Commands.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr int64_t kMaxSeconds = int64_t{365} * 86400;

constexpr Option kOptions[] = {
        kEventOption,
        {"timeout", "S", "give up after S seconds"},
        kDirOption,
        kJsonOption,
};

constexpr std::string_view kDescription =
        "Waits until the next archive is complete, and prints its name. Archives that are already "
        "there do not count. Exit code 1 means that none came before the timeout or Ctrl-C.";

constexpr std::string_view kDetails =
        "JSON: the keys of an archive in 'kavelctl list --check --json' without index.\n";

int runWait(const Arguments& arguments, const Output& output) {
    const ArchiveFilter filter(arguments);
    FolderWatch::Deadline deadline;
    if (arguments.has("timeout")) {
        deadline = std::chrono::steady_clock::now() +
                   std::chrono::seconds(arguments.number("timeout", 0, kMaxSeconds, 0));
    }
    FolderWatch watch;
    ArchiveArrivals arrivals(watch, directoryOf(arguments));
    while (true) {
        std::vector<FolderChange> changes;
        const FolderWatch::Result result = watch.wait(changes, deadline);
        if (result == FolderWatch::Result::TimedOut) throw CommandError("no archive in time");
        if (result == FolderWatch::Result::Interrupted) throw CommandError("interrupted");
        for (const Archive& archive : arrivals.among(changes, output)) {
            if (!filter.matches(archive)) continue;
            if (arguments.has("json")) {
                writeJson(output.out, archiveSummary(archive));
            } else {
                output.out << printable(archive.path.filename().string()) << '\n';
            }
            return kExitOk;
        }
    }
}

}  // namespace

const Command kWaitCommand{"wait",  "",      "wait for the next archive", kDescription, kOptions,
                           runWait, kDetails};

}  // namespace android::kavel::tools
