#include "event/KavelTimestamp.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

KavelTimestamp at(int year, int month, int day, int hour, int minute, int second, int ms) {
    KavelTimestamp timestamp = {};
    timestamp.tm_year = year - 1900;
    timestamp.tm_mon = month - 1;
    timestamp.tm_mday = day;
    timestamp.tm_hour = hour;
    timestamp.tm_min = minute;
    timestamp.tm_sec = second;
    timestamp.tm_isdst = -1;
    timestamp.millisecond = ms;
    return timestamp;
}

// Would catch a wrong offset, separator or padding, and a field that overruns its place.
TEST(Timestamp, Text) {
    EXPECT_EQ(kavelTimeStampToString(at(2024, 3, 7, 9, 5, 2, 7)), "2024-03-07-09-05-02-007");
    EXPECT_EQ(kavelTimeStampToString(at(2024, 1, 1, 0, 0, 0, 0)), "2024-01-01-00-00-00-000");
    EXPECT_EQ(kavelTimeStampToString(at(2024, 12, 31, 23, 59, 60, 999)), "2024-12-31-23-59-60-999");
    EXPECT_EQ(kavelTimeStampToString(at(70, 1, 1, 0, 0, 0, 0)), "70-01-01-00-00-00-000");
    EXPECT_EQ(kavelTimeStampToString(at(2024, 123, 456, 7, 8, 9, 12345)),
              "2024-12-45-07-08-09-123");
}

// Would catch a difference with the wrong sign, in other units, or that rewrites a shared record.
TEST(Timestamp, SecondsBetweenLeavesRecordsAlone) {
    const KavelTimestamp earlier = at(2024, 2, 28, 23, 59, 70, 999);  // mktime would normalise it
    const KavelTimestamp later = at(2024, 2, 29, 0, 1, 0, 0);
    const KavelTimestamp copy = earlier;
    EXPECT_EQ(secondsBetween(earlier, later), 50.0);
    EXPECT_EQ(secondsBetween(later, earlier), -50.0);
    EXPECT_EQ(kavelTimeStampToString(earlier), kavelTimeStampToString(copy));
}

// Would catch UTC in place of local time, a zone that is read once, and a lost millisecond.
TEST(Timestamp, NowIsLocalTime) {
    fake::captureLog();
    struct {
        const char* zone;
        const char* text;
    } const rows[] = {
            {"UTC0", "2024-03-07-09-05-02-007"},
            {"CST-8", "2024-03-07-17-05-02-007"},
            {"XYZ11:30", "2024-03-06-21-35-02-007"},
    };
    fake::resetTime(1'709'802'302'007'999);
    for (const auto& row : rows) {
        fake::clearLog();
        setenv("TZ", row.zone, 1);
        const KavelTimestamp now = generateKavelTimestamp();
        EXPECT_EQ(kavelTimeStampToString(now), row.text);
        EXPECT_EQ(now.realtimeNs, 1'709'802'302'007'999'000);
        EXPECT_EQ(now.tm_gmtoff == 0, strcmp(row.zone, "UTC0") == 0);
    }
    EXPECT_EQ(fake::logCount("[generateKavelTimestamp]: 2024-03-06 21:35:02 007.\n"), 1u);
    unsetenv("TZ");
}

}  // namespace
}  // namespace android::kavel
