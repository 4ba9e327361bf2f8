#include "host/system/LogLine.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace android::kavel::host {

namespace {

constexpr std::string_view kLetters = "??VDIWEFS";  // by android_LogPriority
constexpr size_t kTimeLength = std::string_view("MM-DD HH:MM:SS.mmm").size();
constexpr std::string_view kTagEnd = ": ";

void skipSpaces(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
}

bool takeNumber(std::string_view* text, int* number) {
    skipSpaces(text);
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), *number);
    text->remove_prefix(static_cast<size_t>(end - text->data()));
    return error == std::errc();
}

}  // namespace

std::string formatThreadtime(const LogOrigin& origin, int priority, std::string_view tag,
                             std::string_view message) {
    char head[64];
    const int length = snprintf(head, sizeof(head), "%02d-%02d %02d:%02d:%02d.%03d %5d %5d %c ",
                                origin.time.tm_mon + 1, origin.time.tm_mday, origin.time.tm_hour,
                                origin.time.tm_min, origin.time.tm_sec, origin.milliseconds,
                                origin.pid, origin.tid, priorityLetter(priority));
    std::string prefix(head, static_cast<size_t>(length));
    constexpr size_t kTagWidth = 8;
    prefix.append(tag).append(kTagWidth - std::min(tag.size(), kTagWidth), ' ').append(kTagEnd);

    if (!message.empty() && message.back() == '\n') message.remove_suffix(1);
    std::string lines;
    lines.reserve(prefix.size() + message.size() + 1);
    while (true) {
        const size_t end = std::min(message.find('\n'), message.size());
        lines.append(prefix).append(message.substr(0, end)).push_back('\n');
        if (end == message.size()) return lines;
        message.remove_prefix(end + 1);
    }
}

std::string_view timeOf(std::string_view line) {
    const bool looksLikeTime = line.size() > kTimeLength && line[2] == '-' && line[5] == ' ' &&
                               line[8] == ':' && line[11] == ':' && line[14] == '.';
    return looksLikeTime ? line.substr(0, kTimeLength) : std::string_view();
}

std::optional<LogLine> parseThreadtime(std::string_view line) {
    LogLine parsed;
    parsed.time = timeOf(line);
    line.remove_prefix(parsed.time.size());
    if (parsed.time.empty() || !takeNumber(&line, &parsed.pid) || !takeNumber(&line, &parsed.tid)) {
        return std::nullopt;
    }
    skipSpaces(&line);
    if (line.size() < 2 || line[1] != ' ') return std::nullopt;
    parsed.priority = line[0];
    line.remove_prefix(2);
    const size_t end = line.find(kTagEnd);
    if (end == std::string_view::npos) return std::nullopt;
    parsed.tag = line.substr(0, end);
    while (!parsed.tag.empty() && parsed.tag.back() == ' ') parsed.tag.remove_suffix(1);
    parsed.message = line.substr(end + kTagEnd.size());
    return parsed;
}

char priorityLetter(int priority) {
    return priority >= 0 && static_cast<size_t>(priority) < kLetters.size()
                   ? kLetters[static_cast<size_t>(priority)]
                   : '?';
}

int priorityOf(char letter) {
    const size_t found = letter == '?' ? std::string_view::npos : kLetters.find(letter);
    return found == std::string_view::npos ? 0 : static_cast<int>(found);
}

}  // namespace android::kavel::host
