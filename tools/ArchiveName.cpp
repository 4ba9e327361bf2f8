#include "tools/ArchiveName.h"

#include <charconv>

#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr std::string_view kPrefix = "kavel_";
/** What the daemon writes in the name for a process that it does not know. */
constexpr std::string_view kUnknownProcess = "empty";

/** Returns the start of a subject for the event name @p eventName, by the daemon's naming rule. */
std::string subjectStart(const std::string& eventName) {
    const std::string folder = logFolderName({eventName, "", 0, "", ""});
    const std::string tail = logFolderName({"", "", 0, "", ""}).substr(kPrefix.size() + 1);
    return folder.substr(kPrefix.size(), folder.size() - kPrefix.size() - tail.size());
}

/** Cuts the text after the last @p key off @p rest. Returns false if the key is missing. */
bool takeLast(std::string_view& rest, std::string_view key, std::string_view& value) {
    const size_t position = rest.rfind(key);
    if (position == std::string_view::npos) return false;
    value = rest.substr(position + key.size());
    rest = rest.substr(0, position);
    return true;
}

}  // namespace

std::optional<HistoryLine> parseHistoryLine(std::string_view line) {
    // Parsed from the end, because the event's name may contain anything, even commas and keys.
    std::string_view rest = line;
    std::string_view recordId;
    std::string_view logInfo;
    std::string_view time;
    std::string_view name;
    if (!takeLast(rest, ",eventID:", recordId) || !takeLast(rest, ",loginfo:", logInfo) ||
        !takeLast(rest, ",Timestamp:", time)) {
        return std::nullopt;
    }
    constexpr std::string_view kFirstKey = "EventType:";
    if (rest.substr(0, kFirstKey.size()) != kFirstKey) return std::nullopt;
    name = rest.substr(kFirstKey.size());

    HistoryLine result{std::string(name), std::string(time), 0, 0};
    const char* logInfoEnd = logInfo.data() + logInfo.size();
    const auto [stop, error] = std::from_chars(logInfo.data(), logInfoEnd, result.logInfo, 16);
    const auto id = parseInteger(recordId);
    if (error != std::errc() || stop != logInfoEnd || !id) return std::nullopt;
    result.recordId = *id;
    return result;
}

std::vector<HistoryLine> parseHistory(std::string_view text) {
    std::vector<HistoryLine> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (auto line = parseHistoryLine(text.substr(0, end))) lines.push_back(std::move(*line));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

Subject splitSubject(const LogName& name, const std::vector<HistoryLine>& history) {
    const std::string& subject = name.subject;
    size_t eventEnd = subject.rfind('_', subject.find('.'));
    if (eventEnd == std::string::npos) eventEnd = subject.find('_');
    for (const HistoryLine& line : history) {
        if (line.time != name.timeText) continue;
        const std::string start = subjectStart(line.eventName);
        if (subject.rfind(start, 0) != 0) continue;
        eventEnd = start.size() - 1;
        break;
    }
    const std::string process = subject.substr(eventEnd + 1);
    return {subject.substr(0, eventEnd), process == kUnknownProcess ? "" : process};
}

}  // namespace android::kavel::tools
