#include "tools/ArchiveReport.h"
#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {kDirOption, kJsonOption};

constexpr std::string_view kDescription =
        "Shows one archive: the parts of its name, its history lines, its events, its "
        "extraInfo.txt and its files. If the archive is broken, shows the part that can be read, "
        "and exits with 1.\n"
        "-N is the Nth newest archive of the collection directory. ARCHIVE is a path, or a file "
        "name in that directory, with or without .tar.gz.";

constexpr std::string_view kDetails =
        "JSON: the keys of an archive in 'kavelctl list --check --json' without index (event to\n"
        "sequence are null if the name has another form), and\n"
        "  history    list of {event, time: ISO 8601, logInfo: hexadecimal text, recordId}\n"
        "  extraInfo  text, or null if there is none\n"
        "  files      list of {name, size in bytes}, 4096 at most\n";

int runShow(const Arguments& arguments, const Output& output) {
    const Archive archive = loadArchive(
            findArchive(arguments.operands.front(), directoryOf(arguments)), kArchiveLimit);
    if (arguments.has("json")) {
        writeJson(output.out, archiveDetails(archive));
    } else {
        printArchive(output.out, archive);
    }
    return archive.contents.broken.empty() ? kExitOk : kExitRefused;
}

}  // namespace

const Command kShowCommand{"show",       "ARCHIVE|-N", "show the contents of one archive",
                           kDescription, kOptions,     runShow,
                           kDetails};

}  // namespace android::kavel::tools
