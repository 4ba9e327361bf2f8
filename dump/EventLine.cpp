#include "dump/EventLine.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <android-base/stringprintf.h>

#include "platform/Utf8.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

/** Returns a text of the form YYYY-MM-DDTHH:MM:SS.mmm. */
std::string isoTime(const std::tm& time, int millisecond) {
    return StringPrintf("%d-%02d-%02dT%02d:%02d:%02d.%03d", time.tm_year + 1900, time.tm_mon + 1,
                        time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec, millisecond);
}

std::string utcTime(const KavelTimestamp& time) {
    std::tm fields = time;  // a copy, because timegm() changes it
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

std::string eventLine(const KavelEvent& event, const std::string& name,
                      const std::vector<std::string>& related) {
    std::string line = StringPrintf(
            "{\"utc\":\"%s\",\"local\":\"%s\",\"recordId\":%d,\"eventId\":\"0x%" PRIx64
            "\",\"name\":%s,\"pid\":%d,\"uid\":%d,\"process\":%s,\"version\":%s,\"type\":%s,"
            "\"mask\":\"0x%x\"",
            utcTime(event.timestamp).c_str(), localTime(event.timestamp).c_str(),
            event.kavelEventId, static_cast<uint64_t>(event.eventId), jsonString(name).c_str(),
            event.pid, event.uid, jsonString(event.extraInfo.processName).c_str(),
            jsonString(event.extraInfo.packageVersion).c_str(),
            jsonString(event.extraInfo.eventType).c_str(), static_cast<uint32_t>(event.logInfo));
    for (const std::string& entry : related) {
        line += (&entry == &related.front() ? ",\"related\":[" : ",") + jsonString(entry);
    }
    return line + (related.empty() ? "}\n" : "]}\n");
}

}  // namespace android::kavel
