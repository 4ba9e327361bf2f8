#include "tools/Completeness.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "event/EventTypes.h"
#include "tools/ArchiveStream.h"
#include "tools/Collection.h"
#include "tools/EventLines.h"
#include "tools/Explain.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr size_t kMaxFiles = size_t{64} * 1024;  // of the archive, as are the next two
constexpr size_t kMaxFolders = 256;
constexpr size_t kMaxEvents = size_t{1024} * 1024;  // bytes

/** The files of one log folder. */
struct Folder {
    std::map<std::string, bool> files;  ///< name, whether it has content
    std::string events;                 ///< kavel_events.txt
};

/** Names of a promised file, as patterns, and the reason why it is promised. */
using Promises = std::map<std::vector<std::string>, std::string>;

/** Names of what is collected without a command of the table; PID is the process of the event. */
const std::map<uint32_t, std::vector<std::string>> kCapturePatterns = {
        {KAVEL_LOGINFO_ANR_TRACE, {"*trace_*", "*kavel_DumpTraces_*"}},
        {KAVEL_LOGINFO_NATIVE_SYSTRACE, {"*dravo-trace*", "*perfetto-trace*"}},
        {KAVEL_LOGINFO_ANR_STACKTRACE, {"*trace_*", "*_PID_*"}},
        {KAVEL_LOGINFO_FRAMEWORK_SYSTRACE, {"*dravo-trace*"}},
        {KAVEL_LOGINFO_SYSTEM_SERVER_TRACES, {"*trace_*"}},
};

/**
 * Adds what is taken for @p event.
 *
 * @param addsTraces  whether it opened the archive's own folder, which has its traces and extra
 * info
 */
void addPromises(const Json::Value& event, bool addsTraces, Promises& promises) {
    const auto number = [&](const char* key) {
        return std::strtoull(event[key].asCString(), nullptr, 0);
    };
    const auto eventId = static_cast<int64_t>(number("eventId"));
    const auto mask = static_cast<uint32_t>(number("mask") & UINT32_MAX);
    const EventType& type = eventTypeOf(eventId);
    // On a commercial build, an abnormal action opens the folder, and the archive has no traces.
    addsTraces = addsTraces && !type.isAbnormalAction();
    if (type.logs != LogRule::Collected) return;
    for (const ExplainedBit& bit : explainMask(mask, eventId).bits) {
        const std::string name(logBitName(bit.bit));
        for (const ExplainedCommand& command : bit.commands) {
            // The stem has a "/" in front; the time of the start follows.
            promises[{std::string(command.row->stem + 1) + "[0-9]*.txt"}] =
                    name + (command.row->heavy ? ", may be skipped as a heavy dump" : "");
        }
        const auto capture = kCapturePatterns.find(bit.bit);
        if (!bit.taken || capture == kCapturePatterns.end() || !addsTraces) continue;
        std::vector<std::string> patterns = capture->second;
        for (std::string& pattern : patterns) {
            if (pattern == "*_PID_*") pattern = "*_" + event["pid"].asString() + "_*";
        }
        promises[patterns] = name;
    }
    if (addsTraces && type.extraInfo != ExtraInfoFile::None) {
        promises[{"extraInfo.txt"}] = "event type";
    }
}

/** Adds to @p result what is missing in @p folder, whose name is @p path. */
void compare(const std::string& path, const Folder& folder, Verification& result) {
    Promises promises;
    const auto [events, malformed] = parseEventLines(folder.events);
    result.malformedEvents.insert(result.malformedEvents.end(), malformed.begin(), malformed.end());
    for (const Json::Value& event : events) {
        addPromises(event, path.empty() && &event == &events.front(), promises);
    }
    for (const auto& [patterns, reason] : promises) {
        std::vector<std::string> empty;
        bool isThere = false;
        for (const auto& [name, hasContent] : folder.files) {
            const bool isWanted =
                    std::any_of(patterns.begin(), patterns.end(), [&name = name](const auto& each) {
                        return fnmatch(each.c_str(), name.c_str(), 0) == 0;
                    });
            if (!isWanted) continue;
            isThere = true;
            if (!hasContent) empty.push_back(path + name);
        }
        const std::string reasonText = " (" + reason + ")";
        if (!isThere) result.missing.push_back((path + patterns.front()).append(reasonText));
        result.empty.insert(result.empty.end(), empty.begin(), empty.end());
    }
}

}  // namespace

Verification verifyArchive(const std::filesystem::path& path) {
    Verification result;
    std::map<std::string, Folder> folders;
    size_t eventBytes = 0;
    ArchiveStream stream(path, kArchiveLimit);
    while (const auto member = stream.next()) {
        const size_t slash = member->name.rfind('/');
        const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
        const std::string folderName = member->name.substr(0, nameStart);
        if (++result.fileCount > kMaxFiles) continue;
        if (folders.size() == kMaxFolders && folders.count(folderName) == 0) continue;
        Folder& folder = folders[folderName];
        const std::string name = member->name.substr(nameStart);
        bool& hasContent = folder.files[name];
        hasContent = hasContent || member->size > 0;
        if (name != "kavel_events.txt" || !folder.events.empty()) continue;
        folder.events.resize(std::min<uint64_t>(member->size, kMaxEvents - eventBytes));
        folder.events.resize(stream.read(folder.events.data(), folder.events.size()));
        eventBytes += folder.events.size();
        // The limit must not make a line malformed.
        const bool isCut = folder.events.size() < member->size;
        if (isCut) folder.events.resize(folder.events.rfind('\n') + 1);  // npos + 1 is 0
    }
    result.broken = stream.finish();
    if (stream.isPartial()) result.broken = "it has more than 4 GiB of content";
    if (result.fileCount > kMaxFiles) result.broken = "it has too many files";
    if (!result.broken.empty()) return result;  // a file may be in the part that was not read
    for (const auto& [name, folder] : folders) compare(name, folder, result);
    return result;
}

}  // namespace android::kavel::tools
