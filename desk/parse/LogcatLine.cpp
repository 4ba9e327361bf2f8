#include "desk/parse/LogLine.h"

#include <charconv>

namespace kaveldesk {
namespace {

Level levelOfLetter(char letter) {
    switch (letter) {
        case 'V':
            return Level::Verbose;
        case 'D':
            return Level::Debug;
        case 'I':
            return Level::Info;
        case 'W':
            return Level::Warn;
        case 'E':
            return Level::Error;
        case 'F':
        case 'A':
            return Level::Fatal;  // "assert", in old versions
        default:
            return Level::Unknown;
    }
}

bool isLevel(std::string_view word) {
    return word.size() == 1 && (levelOfLetter(word[0]) != Level::Unknown || word[0] == 'S');
}

bool toNumber(std::string_view word, int32_t& value) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size() && !word.empty();
}

std::string_view trimRight(std::string_view text) {
    const size_t last = text.find_last_not_of(' ');
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/** Notes tag and message, which are separated at @p colon; npos: there is only a message. */
void setTagAndMessage(std::string_view line, size_t tagAt, size_t tagEnd, size_t messageAt,
                      LineHead& head) {
    constexpr size_t kMaxTag = UINT16_MAX;
    const std::string_view tag = trimRight(line.substr(tagAt, tagEnd - tagAt));
    if (tag.size() <= kMaxTag) {
        head.tagAt = static_cast<uint32_t>(tagAt);
        head.tagLength = static_cast<uint16_t>(tag.size());
    }
    head.messageAt = static_cast<uint32_t>(std::min(messageAt, line.size()));
}

/** "[uid] pid tid L tag     : message", the columns of threadtime. */
bool parseColumns(std::string_view line, Scanner scanner, LineHead& head) {
    std::string_view before;
    std::string_view last;
    for (int column = 0; column < 4; ++column) {
        scanner.skipBlanks();
        const std::string_view word = scanner.word();
        if (column >= 2 && isLevel(word)) {
            if (!toNumber(before, head.pid) || !toNumber(last, head.tid)) return false;
            head.level = levelOfLetter(word[0]);
            scanner.skip(' ');
            const size_t tagAt = line.size() - scanner.rest().size();
            size_t colon = line.find(": ", tagAt);
            if (colon == std::string_view::npos && !line.empty() && line.back() == ':') {
                colon = line.size() - 1;
            }
            if (colon == std::string_view::npos) {
                setTagAndMessage(line, tagAt, tagAt, tagAt, head);
            } else {
                setTagAndMessage(line, tagAt, colon, colon + 2, head);
            }
            return true;
        }
        before = last;
        last = word;
    }
    return false;
}

/** "L/tag     ( pid[: tid]): message", the form of the formats time and brief. */
bool parseSlash(std::string_view line, Scanner scanner, LineHead& head) {
    scanner.skipBlanks();
    const std::string_view text = scanner.rest();
    if (text.size() < 2 || text[1] != '/' || !isLevel(text.substr(0, 1))) return false;
    const size_t tagAt = line.size() - text.size() + 2;
    const size_t end = line.find("): ", tagAt);
    const size_t close = end != std::string_view::npos ? end : line.rfind("):");
    const size_t open = close == std::string_view::npos ? close : line.rfind('(', close);
    if (open == std::string_view::npos || open < tagAt) return false;
    Scanner ids(line.substr(open + 1, close - open - 1));
    ids.skipBlanks();
    const std::string_view all = ids.rest();
    const size_t colon = all.find(':');
    if (!toNumber(trimRight(all.substr(0, colon)), head.pid)) return false;
    if (colon != std::string_view::npos) {
        const std::string_view tid = all.substr(colon + 1);
        const size_t start = tid.find_first_not_of(' ');
        if (start == std::string_view::npos || !toNumber(tid.substr(start), head.tid)) return false;
    }
    head.level = levelOfLetter(text[0]);
    setTagAndMessage(line, tagAt, open, close + 3, head);
    return true;
}

}  // namespace

std::optional<LogcatLine> parseLogcatLine(std::string_view line) {
    Scanner scanner(line);
    const std::optional<Stamp> stamp = takeStamp(scanner);
    if (!stamp) return std::nullopt;
    LogcatLine result;
    result.stamp = *stamp;
    if (parseColumns(line, scanner, result.head) || parseSlash(line, scanner, result.head)) {
        return result;
    }
    return std::nullopt;
}

std::string_view takeLine(std::string_view text, size_t& position) {
    const size_t end = std::min(text.find('\n', position), text.size());
    std::string_view line = text.substr(position, end - position);
    position = std::min(end + 1, text.size());
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

}  // namespace kaveldesk
