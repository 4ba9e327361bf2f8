#include "dump/EventLine.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include <android-base/stringprintf.h>

namespace android::kavel {

using base::StringPrintf;

namespace {

/** Length of the UTF-8 character at the start of @p text, or 0 if there is none (RFC 3629). */
size_t characterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const size_t length = first < 0x80                    ? 1
                          : first >= 0xC2 && first < 0xE0 ? 2
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    if (length > text.size()) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    return length;
}

std::string quoted(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        const size_t length = characterLength(text);
        const char c = text[0];
        if (length == 0) {
            json += "\\ufffd";
        } else if (c == '"' || c == '\\') {
            json.append(1, '\\').append(1, c);
        } else if (length == 1 && (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)) {
            json += StringPrintf("\\u%04x", static_cast<unsigned char>(c));
        } else {
            json += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return json + "\"";
}

/** YYYY-MM-DDTHH:MM:SS.mmm */
std::string isoTime(const std::tm& time, int millisecond) {
    return StringPrintf("%d-%02d-%02dT%02d:%02d:%02d.%03d", time.tm_year + 1900, time.tm_mon + 1,
                        time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec, millisecond);
}

std::string utcTime(const KavelTimestamp& time) {
    std::tm fields = time;  // timegm() normalises what it is given
    const time_t seconds = timegm(&fields) - time.tm_gmtoff;
    std::tm utc = {};
    gmtime_r(&seconds, &utc);
    return isoTime(utc, time.millisecond) + "Z";
}

std::string localTime(const KavelTimestamp& time) {
    const long minutes = std::labs(time.tm_gmtoff) / 60;
    return isoTime(time, time.millisecond) + StringPrintf("%c%02ld:%02ld",
                                                          time.tm_gmtoff < 0 ? '-' : '+',
                                                          minutes / 60, minutes % 60);
}

}  // namespace

std::string eventLine(const KavelEvent& event, const std::string& name) {
    return StringPrintf(
            "{\"utc\":\"%s\",\"local\":\"%s\",\"recordId\":%d,\"eventId\":\"0x%" PRIx64
            "\",\"name\":%s,\"pid\":%d,\"uid\":%d,\"process\":%s,\"version\":%s,\"type\":%s,"
            "\"mask\":\"0x%x\"}\n",
            utcTime(event.timestamp).c_str(), localTime(event.timestamp).c_str(),
            event.kavelEventId, static_cast<uint64_t>(event.eventId), quoted(name).c_str(),
            event.pid, event.uid, quoted(event.extraInfo.processName).c_str(),
            quoted(event.extraInfo.packageVersion).c_str(),
            quoted(event.extraInfo.eventType).c_str(), static_cast<uint32_t>(event.logInfo));
}

}  // namespace android::kavel
