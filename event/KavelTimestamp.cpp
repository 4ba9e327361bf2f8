#include "event/KavelTimestamp.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Log.h"

namespace android::kavel {

KavelTimestamp generateKavelTimestamp() {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[generateKavelTimestamp]: generateKavelTimestamp start.\n");
    const int64_t us = wallClockUs();
    const time_t seconds = us / 1'000'000;

    KavelTimestamp timestamp = {};
    tzset();  // localtime_r() alone may miss that the user has changed the time zone
    localtime_r(&seconds, &timestamp);
    timestamp.millisecond = static_cast<int32_t>(us / 1000 % 1000);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[generateKavelTimestamp]: %d-%02d-%02d %02d:%02d:%02d %03d.\n",
               timestamp.tm_year + 1900, timestamp.tm_mon + 1, timestamp.tm_mday, timestamp.tm_hour,
               timestamp.tm_min, timestamp.tm_sec, timestamp.millisecond);
    timestamp.realtimeNs = realtimeNs();
    return timestamp;
}

std::string kavelTimeStampToString(const KavelTimestamp& timestamp) {
    std::string text = std::to_string(timestamp.tm_year + 1900);
    for (const int field : {timestamp.tm_mon + 1, timestamp.tm_mday, timestamp.tm_hour,
                            timestamp.tm_min, timestamp.tm_sec}) {
        char twoDigits[3];
        snprintf(twoDigits, sizeof(twoDigits), "%02d", field);
        text.append("-").append(twoDigits);
    }
    char threeDigits[4];
    snprintf(threeDigits, sizeof(threeDigits), "%03d", timestamp.millisecond);
    return text.append("-").append(threeDigits);
}

double secondsBetween(const KavelTimestamp& earlier, const KavelTimestamp& later) {
    // mktime() normalises its argument, and records are shared: use copies.
    std::tm from = earlier;
    std::tm to = later;
    return difftime(mktime(&to), mktime(&from));
}

}  // namespace android::kavel
