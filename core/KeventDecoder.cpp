#include "core/KeventDecoder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace android::kavel {
namespace {

constexpr std::string_view kLogmapStart = "logmap{";
/** Characters for which isspace() is true in the C locale, which the daemon runs in. */
constexpr std::string_view kBlanks = " \t\n\v\f\r";

/**
 * Cuts the text up to @p separator off @p rest, like strsep(). Returns false at the end of the
 * text.
 */
bool nextToken(std::string_view& rest, bool& more, char separator, std::string_view& token) {
    if (!more) return false;
    const size_t end = rest.find(separator);
    token = rest.substr(0, end);
    more = end != std::string_view::npos;
    rest.remove_prefix(more ? end + 1 : rest.size());
    return true;
}

/**
 * Cuts the next run of non-blank characters off @p text. Returns an empty word if there is none.
 */
std::string_view nextWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

/**
 * Returns the decimal int32 at the start of @p text; trailing text is ignored. Returns nullopt if
 * there is no number or it does not fit.
 */
std::optional<int32_t> toInt32(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long value = strtoll(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE || value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<int32_t>(value);
}

EventToken scanEventToken(std::string_view text) {
    EventToken token = {};
    token.text = text;
    token.key = nextWord(text);
    token.value = nextWord(text);
    token.conversions = token.key.empty() ? -1 : token.value.empty() ? 1 : 2;
    token.isBad = token.conversions != 2 || token.key.size() > kMaxTokenPart ||
                  token.value.size() > kMaxTokenPart;
    return token;
}

/**
 * Stores the value of @p token in the field of its key. Marks the token as bad if it does not
 * convert.
 */
void applyToken(EventText& event, EventToken& token) {
    token.isKnown = true;
    if (token.key == "extrainfo:") {
        event.extraInfo = token.value;
        return;
    }
    const bool isId = token.key == "event_id:";
    const bool isLogInfo = token.key == "loginfo:";
    if (!isId && !isLogInfo && token.key != "pid:") {
        token.isKnown = false;
        return;
    }
    const std::optional<int32_t> number = toInt32(token.value);
    if (!number) {
        token.isBad = true;
    } else if (isId) {
        event.eventId = *number;
    } else {
        (isLogInfo ? event.logInfo : event.pid) = *number;
    }
}

}  // namespace

std::optional<std::string> extractLogmap(const std::string& payload) {
    if (payload.compare(0, kLogmapStart.size(), kLogmapStart) != 0) return std::nullopt;
    const std::string_view rest = std::string_view(payload).substr(kLogmapStart.size());
    const std::string_view logmap = rest.substr(0, rest.find('}'));
    if (logmap.empty()) return std::nullopt;
    return std::string(logmap);
}

std::optional<std::string> parseLogmap(const std::string& logmap, PlxMsg* msg) {
    std::string_view rest = logmap;
    std::string_view token;
    for (bool more = true; nextToken(rest, more, ';', token);) {
        const size_t colon = token.find(':');
        std::string_view behind = colon == std::string_view::npos ? "" : token.substr(colon + 1);
        const std::string_view key = token.substr(0, colon);
        const std::string_view value = nextWord(behind);
        if (key.empty() || value.empty() || key.size() > kMaxTokenPart ||
            value.size() > kMaxTokenPart) {
            return std::string(token);
        }
        msg->data.emplace_back(key, value);
    }
    return std::nullopt;
}

const std::string* findValue(const PlxMsg& msg, std::string_view key) {
    for (const auto& [name, value] : msg.data) {
        if (name == key) return &value;
    }
    return nullptr;
}

bool isScreenMonitor(const PlxMsg& msg) {
    return std::any_of(msg.data.begin(), msg.data.end(), [](const auto& pair) {
        return pair.first == "logType" &&
               (pair.second == "black_screen_monitor" || pair.second == "bright_screen_monitor");
    });
}

bool asksForDump(const PlxMsg& msg) {
    return std::any_of(msg.data.begin(), msg.data.end(), [](const auto& pair) {
        return pair.first == "catchlog" && pair.second == "true";
    });
}

EventText parseEventText(const std::string& message) {
    EventText event;
    std::string_view rest = message;
    std::string_view text;
    for (bool more = true; nextToken(rest, more, '.', text);) {
        EventToken token = scanEventToken(text);
        if (!token.isBad) applyToken(event, token);
        event.isBad = token.isBad;
        const bool isLast = token.isBad || token.key == "extrainfo:";
        event.tokens.push_back(std::move(token));
        if (isLast) break;
    }
    return event;
}

}  // namespace android::kavel
