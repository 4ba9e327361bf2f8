#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/Quantities.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {
        {"keep", "N", "keep only the newest N archives"},
        {"max-size", "SIZE",
         "keep only the newest archives that have SIZE bytes at most, all together; K, M, G and T "
         "are powers of 1024"},
        {"older-than", "AGE", "remove archives older than AGE, such as 12h, 30d or 4w"},
        {"dry-run", "", "only say what would be removed"},
        kDirOption,
        kJsonOption,
};

constexpr std::string_view kDescription =
        "Removes the archives from the collection directory that exceed one of the given limits, "
        "the oldest first. At least one limit is required. Other files stay, and so does an "
        "archive that is being written: its log folder, or its archive before the move, is still "
        "in the staging directory.\n"
        "Exit code 1 means that an archive was not removed.";

constexpr std::string_view kDetails =
        "JSON:\n"
        "  dryRun   true or false\n"
        "  removed  list, oldest first, of {path, size: bytes}\n"
        "  failed   list of {path, reason: text}\n"
        "  freed    bytes of the removed archives\n"
        "  kept     number of archives that are left\n";

/** The limits that the user gave. */
struct Limits {
    std::optional<uint64_t> count;
    std::optional<uint64_t> bytes;
    std::optional<int64_t> oldestMs;  ///< milliseconds since 1970, UTC

    /** Returns how many of the newest archives meet all limits. */
    size_t keptOf(const std::vector<ArchiveEntry>& newestFirst) const {
        uint64_t size = 0;
        for (size_t i = 0; i < newestFirst.size(); ++i) {
            size += newestFirst[i].size;
            if ((count && i >= *count) || (bytes && size > *bytes) ||
                (oldestMs && newestFirst[i].utcMs < *oldestMs)) {
                return i;
            }
        }
        return newestFirst.size();
    }
};

Limits limitsOf(const Arguments& arguments) {
    Limits limits;
    if (arguments.has("keep")) {
        limits.count = static_cast<uint64_t>(arguments.number("keep", 0, INT64_MAX, 0));
    }
    if (const auto size = arguments.value("max-size")) {
        limits.bytes = parseSize("--max-size", *size);
    }
    if (const auto age = arguments.value("older-than")) {
        using std::chrono::milliseconds;
        limits.oldestMs = wallClockMs() - milliseconds(parseDuration("--older-than", *age)).count();
    }
    if (!limits.count && !limits.bytes && !limits.oldestMs) {
        throw UsageError("--keep, --max-size or --older-than is missing");
    }
    return limits;
}

/**
 * Whether the pack of the archive still runs: its last step is to remove the log folder. After a
 * restart, the archive may be all that is left to move.
 */
bool isBeingWritten(const ArchiveEntry& archive) {
    const std::string folder = std::string(kLogFolderRoot) + "/" + archive.name.folder;
    return access(folder.c_str(), F_OK) == 0 ||
           access((folder + kArchiveSuffix).c_str(), F_OK) == 0;
}

/** What happens to one archive. */
struct Removal {
    const ArchiveEntry* archive;
    std::string reason;  ///< why it stays; empty if it is removed
};

/** Removes archives, or only says which ones. Returns the decisions, oldest first. */
std::vector<Removal> prune(const std::vector<ArchiveEntry>& newestFirst, const Limits& limits,
                           bool isDryRun) {
    std::vector<Removal> removals;
    const size_t kept = limits.keptOf(newestFirst);
    for (size_t i = newestFirst.size(); i > kept; --i) {
        const ArchiveEntry& archive = newestFirst[i - 1];
        std::string reason;
        if (isBeingWritten(archive)) {
            reason = "it is being written";
        } else if (!isDryRun && unlink(archive.path.c_str()) != 0) {
            reason = std::strerror(errno);
        }
        removals.push_back({&archive, reason});
    }
    return removals;
}

int runPrune(const Arguments& arguments, const Output& output) {
    const Limits limits = limitsOf(arguments);
    const bool isDryRun = arguments.has("dry-run");
    const Collection collection = scanCollection(directoryOf(arguments));

    Json::Value json;
    json["dryRun"] = isDryRun;
    Json::Value& removed = json["removed"] = Json::arrayValue;
    Json::Value& failed = json["failed"] = Json::arrayValue;
    uint64_t freed = 0;
    for (const Removal& removal : prune(collection.archives, limits, isDryRun)) {
        const ArchiveEntry& archive = *removal.archive;
        Json::Value entry;
        entry["path"] = archive.path.string();
        if (removal.reason.empty()) {
            entry["size"] = Json::UInt64{archive.size};
            removed.append(entry);
            freed += archive.size;
        } else {
            entry["reason"] = removal.reason;
            failed.append(entry);
        }
    }
    json["freed"] = Json::UInt64{freed};
    json["kept"] = Json::UInt64{collection.archives.size() - removed.size()};
    const int exitCode = failed.empty() ? kExitOk : kExitRefused;
    if (arguments.has("json")) {
        writeJson(output.out, json);
        return exitCode;
    }
    const auto nameOf = [](const Json::Value& entry) {
        return printable(std::filesystem::path(entry["path"].asString()).filename().string());
    };
    for (const Json::Value& entry : removed) {
        output.out << (isDryRun ? "would remove " : "removed ") << nameOf(entry) << ", "
                   << sizeText(entry["size"].asUInt64()) << '\n';
    }
    for (const Json::Value& entry : failed) {
        output.note() << "not removed: " << nameOf(entry) << ": " << entry["reason"].asString()
                      << '\n';
    }
    output.out << (isDryRun ? "would free " : "freed ") << sizeText(freed) << "; "
               << json["kept"].asUInt64() << " of " << collection.archives.size()
               << (isDryRun ? " archives would be left\n" : " archives are left\n");
    return exitCode;
}

}  // namespace

const Command kPruneCommand{"prune",  "",      "remove old archives", kDescription, kOptions,
                            runPrune, kDetails};

}  // namespace android::kavel::tools
