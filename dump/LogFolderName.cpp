#include "dump/LogFolderName.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstring>

namespace android::kavel {
namespace {

constexpr std::string_view kPrefix = "kavel_";
constexpr size_t kFolderIdDigits = 16;

/** Whether @p c becomes "_" in the parts of a name. */
bool isReplaced(char c) {
    return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

std::string withoutPathCharacters(std::string part) {
    std::replace_if(part.begin(), part.end(), isReplaced, '_');
    return part;
}

/** Shortens @p part by @p excess bytes, or by more if that would split a UTF-8 character. */
void shorten(std::string& part, size_t excess) {
    size_t end = part.size() - std::min(excess, part.size());
    while (end > 0 && end < part.size() && (static_cast<unsigned char>(part[end]) & 0xC0) == 0x80) {
        --end;
    }
    part.resize(end);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f');
}

/** Whether @p text is a time as kavelTimeStampToString() writes it, with a year of any length. */
bool isTimeText(std::string_view text) {
    constexpr std::string_view kBehindYear = "-00-00-00-00-00-000";
    if (text.size() <= kBehindYear.size()) return false;
    const size_t year = text.size() - kBehindYear.size();
    for (size_t i = 0; i < text.size(); ++i) {
        const char form = i < year ? '0' : kBehindYear[i - year];
        if (form == '0' ? !isDigit(text[i]) : text[i] != form) return false;
    }
    return true;
}

/**
 * Returns the position of the last "@ID@" in @p text, or npos. Process names may contain "@" (a
 * service called android.hardware.power@1.0-service), so only an id of the full width counts.
 */
size_t findFolderId(std::string_view text) {
    for (size_t end = text.rfind('@'); end != std::string_view::npos && end > kFolderIdDigits;
         end = text.rfind('@', end - 1)) {
        const size_t start = end - kFolderIdDigits - 1;
        const std::string_view id = text.substr(start + 1, kFolderIdDigits);
        if (text[start] == '@' && std::all_of(id.begin(), id.end(), isHexDigit)) return start;
    }
    return std::string_view::npos;
}

/** Removes ".N" from the end of @p stem, as archiveName() writes it. Returns N, or 1 if there is
 * none. */
uint32_t takeSequence(std::string_view& stem) {
    constexpr size_t kMaxDigits = 3;
    const size_t dot = stem.rfind('.');
    const std::string_view digits =
            dot == std::string_view::npos ? std::string_view() : stem.substr(dot + 1);
    if (digits.empty() || digits.size() > kMaxDigits || digits[0] == '0' ||
        !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return 1;
    }
    uint32_t number = 0;
    for (const char digit : digits) number = number * 10 + static_cast<uint32_t>(digit - '0');
    if (number > 1) stem.remove_suffix(digits.size() + 1);
    return number;
}

}  // namespace

std::string logFolderName(const LogFolderParts& parts) {
    // The sum wraps for a clock before 1970. A plain sum would end the process on the phone.
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
                              strlen(".999") + strlen(kArchiveSuffix);
        return length > NAME_MAX ? length - NAME_MAX : 0;
    };
    shorten(process, excess());
    shorten(event, excess());
    shorten(version, excess());
    return std::string(kPrefix) + event + "_" + process + "@" + folderId + "@" + version + "@" +
           parts.timeText;
}

std::string archiveName(std::string_view folderName, uint32_t sequence) {
    std::string name(folderName);
    if (sequence > 1) name += "." + std::to_string(sequence);
    return name + kArchiveSuffix;
}

std::optional<LogName> parseLogFolderName(std::string_view name) {
    if (name.size() > NAME_MAX || std::any_of(name.begin(), name.end(), isReplaced)) return {};
    if (name.substr(0, kPrefix.size()) != kPrefix) return {};
    // From the right, because the subject and the OTA version may contain "@".
    const size_t beforeTime = name.rfind('@');
    if (beforeTime == std::string_view::npos) return {};
    const std::string_view time = name.substr(beforeTime + 1);
    const std::string_view front = name.substr(0, beforeTime);
    const size_t idStart = findFolderId(front);
    if (idStart == std::string_view::npos || !isTimeText(time)) return {};
    const std::string_view subject = front.substr(kPrefix.size(), idStart - kPrefix.size());
    if (subject.find('_') == std::string_view::npos) return {};
    return LogName{std::string(name), std::string(subject),
                   std::string(front.substr(idStart + 1, kFolderIdDigits)),
                   std::string(front.substr(idStart + 1 + kFolderIdDigits + 1)), std::string(time)};
}

std::optional<LogName> parseArchiveName(std::string_view fileName) {
    const std::string_view suffix = kArchiveSuffix;
    if (fileName.size() < suffix.size() || fileName.size() > NAME_MAX) return {};
    std::string_view stem = fileName.substr(0, fileName.size() - suffix.size());
    if (fileName.substr(stem.size()) != suffix) return {};
    const uint32_t sequence = takeSequence(stem);
    std::optional<LogName> name = parseLogFolderName(stem);
    if (name) name->sequence = sequence;
    return name;
}

int64_t folderIdTimeNs(const LogName& name) {
    const std::string_view id = name.folderId;
    uint64_t number = 0;
    std::from_chars(id.data(), id.data() + id.size(), number, 16);
    int64_t time = 0;
    static_cast<void>(__builtin_sub_overflow(number, kFolderIdBase, &time));  // wraps, as the sum
    return time;
}

bool isLogFolderName(std::string_view name) {
    return parseLogFolderName(name).has_value();
}

bool isUsableFolder(std::string_view path) {
    return path.find_first_not_of('/') != std::string_view::npos;
}

}  // namespace android::kavel
