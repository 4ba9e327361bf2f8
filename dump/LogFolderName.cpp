#include "dump/LogFolderName.h"

#include <algorithm>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstring>
#include <regex>

namespace android::kavel {
namespace {

/** The letters of "kavel" in the five top bytes: tells our folder ids from any other number. */
constexpr uint64_t kFolderIdBase = 0x6B6176656C000000;

std::string withoutPathCharacters(std::string part) {
    std::replace_if(
            part.begin(), part.end(),
            [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f; },
            '_');
    return part;
}

/** Shortens @p part by up to @p excess bytes, not splitting a UTF-8 character. */
void shorten(std::string& part, size_t excess) {
    size_t end = part.size() - std::min(excess, part.size());
    while (end > 0 && end < part.size() && (static_cast<unsigned char>(part[end]) & 0xC0) == 0x80) {
        --end;
    }
    part.resize(end);
}

}  // namespace

std::string logFolderName(const LogFolderParts& parts) {
    // Wraps for a clock before 1970, on purpose: a plain sum would end the process on the phone.
    uint64_t id = 0;
    static_cast<void>(
            __builtin_add_overflow(static_cast<uint64_t>(parts.realtimeNs), kFolderIdBase, &id));
    char folderId[17];
    snprintf(folderId, sizeof(folderId), "%" PRIx64, id);
    std::string process = withoutPathCharacters(parts.process);
    std::string event = withoutPathCharacters(parts.eventName);
    std::string version = withoutPathCharacters(parts.otaVersion);

    const auto excess = [&] {
        const size_t length = strlen("kavel__@@@") + event.size() + process.size() +
                              strlen(folderId) + version.size() + parts.timeText.size() +
                              strlen(kArchiveSuffix);
        return length > NAME_MAX ? length - NAME_MAX : 0;
    };
    shorten(process, excess());
    shorten(event, excess());
    shorten(version, excess());
    return "kavel_" + event + "_" + process + "@" + folderId + "@" + version + "@" + parts.timeText;
}

bool isLogFolderName(std::string_view name) {
    static const std::regex kForm("kavel_.*_.*@[0-9a-f]{1,16}@.*@[0-9]+(-[0-9]{2}){5}-[0-9]{3}");
    return name.size() <= NAME_MAX && std::regex_match(name.begin(), name.end(), kForm);
}

std::string archiveName(std::string_view folderName, int sequence) {
    std::string name(folderName);
    if (sequence > 1) name += "." + std::to_string(sequence);
    return name + kArchiveSuffix;
}

bool isUsableFolder(std::string_view path) {
    return path.find_first_not_of('/') != std::string_view::npos;
}

}  // namespace android::kavel
