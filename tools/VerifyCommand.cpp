#include <android-base/strings.h>

#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/Completeness.h"
#include "tools/Progress.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {kDirOption, kJsonOption};

constexpr std::string_view kDescription =
        "Reads archives to their end, and compares their files with those that the masks and types "
        "of their events promise: for each command at least one file, and none empty. Without "
        "ARCHIVE, checks all archives of the collection directory, newest first. ARCHIVE is as for "
        "'kavelctl show'.\n"
        "An archive without kavel_events.txt, such as that of a hang warning, promises nothing. A "
        "missing heavy dump may have been skipped: there is at most one set of them in 30 s.\n"
        "A line of kavel_events.txt that is no event makes an archive bad, too.\n"
        "Exit code 0 means that all archives are whole and have all their files; 1 that one has "
        "not.";

constexpr std::string_view kDetails =
        "JSON: {archives: list} of:\n"
        "  path             text\n"
        "  good             true or false\n"
        "  broken           text, why the archive cannot be read, or null\n"
        "  missing          list of texts: a pattern of the file's name and the reason\n"
        "  empty            list of file names\n"
        "  malformedEvents  list of texts: lines of kavel_events.txt that are no events\n"
        "  fileCount        number\n";

Json::Value toJson(const std::filesystem::path& path, const Verification& result) {
    Json::Value json;
    json["path"] = path.string();
    json["good"] = result.isGood();
    json["broken"] = result.broken.empty() ? Json::Value() : Json::Value(result.broken);
    json["missing"] = jsonList(result.missing);
    json["empty"] = jsonList(result.empty);
    json["malformedEvents"] = jsonList(result.malformedEvents);
    json["fileCount"] = Json::UInt64{result.fileCount};
    return json;
}

void print(std::ostream& out, const std::filesystem::path& path, const Verification& result) {
    out << (result.isGood() ? "good  " : "BAD   ") << printable(path.filename().string()) << ", "
        << result.fileCount << (result.fileCount == 1 ? " file\n" : " files\n");
    if (!result.broken.empty()) out << "        broken: " << printable(result.broken) << '\n';
    for (const std::string& file : result.missing) {
        out << "        missing: " << printable(file) << '\n';
    }
    for (const std::string& file : result.empty) {
        out << "        empty: " << printable(file) << '\n';
    }
    for (const std::string& line : result.malformedEvents) {
        out << "        malformed event: " << printable(line) << '\n';
    }
}

int runVerify(const Arguments& arguments, const Output& output) {
    const std::filesystem::path directory = directoryOf(arguments);
    std::vector<std::filesystem::path> paths;
    for (const std::string& operand : arguments.operands) {
        paths.push_back(findArchive(operand, directory));
    }
    if (arguments.operands.empty()) {
        for (const ArchiveEntry& entry : scanCollection(directory).archives) {
            paths.push_back(entry.path);
        }
    }
    Progress progress(output, "verified", paths.size());
    Json::Value json;
    Json::Value& list = json["archives"] = Json::arrayValue;
    size_t bad = 0;
    for (const std::filesystem::path& path : paths) {
        progress.step();
        const Verification result = verifyArchive(path);
        if (!result.isGood()) ++bad;
        if (arguments.has("json")) {
            list.append(toJson(path, result));
        } else {
            print(output.out, path, result);
        }
    }
    if (arguments.has("json")) {
        writeJson(output.out, json);
    } else {
        output.out << paths.size() - bad << " of " << paths.size()
                   << (paths.size() == 1 ? " archive is good\n" : " archives are good\n");
    }
    return bad == 0 ? kExitOk : kExitRefused;
}

}  // namespace

const Command kVerifyCommand{"verify",     "[ARCHIVE|-N...]", "check archives and their files",
                             kDescription, kOptions,          runVerify,
                             kDetails};

}  // namespace android::kavel::tools
