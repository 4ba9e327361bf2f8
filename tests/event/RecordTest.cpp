// Would catch a wrong offset, separator or padding in a time text, a field that runs beyond its
// place, a difference with the wrong sign or in other units, a shared record that is changed, UTC
// in place of local time, a zone that is read only once, and a log line with another text.

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "event/EventTypes.h"
#include "event/KavelEvent.h"
#include "event/KavelTimestamp.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

KavelTimestamp at(const std::string& text, int millisecond) {
    KavelTimestamp timestamp = {};
    strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &timestamp);
    timestamp.millisecond = millisecond;
    return timestamp;
}

TEST(Timestamp, Text) {
    KavelTimestamp timestamp = at("0070-03-07 09:05:02", 7);
    EXPECT_EQ(kavelTimeStampToString(timestamp), "70-03-07-09-05-02-007");
    timestamp.tm_hour = 456;
    timestamp.millisecond = 1234;
    EXPECT_EQ(kavelTimeStampToString(timestamp), "70-03-07-45-05-02-123");
}

TEST(Timestamp, SecondsBetweenLeavesRecordsAlone) {
    KavelTimestamp earlier = at("2024-02-28 23:59:00", 999);
    earlier.tm_sec = 70;  // mktime() would normalise it
    const KavelTimestamp later = at("2024-02-29 00:01:00", 0);
    EXPECT_EQ(secondsBetween(earlier, later), 50.0);
    EXPECT_EQ(secondsBetween(later, earlier), -50.0);
    EXPECT_EQ(earlier.tm_sec, 70);
}

TEST(Timestamp, NowIsLocalTime) {
    fake::captureLog();
    fake::resetTime(1'709'802'302'007'999);
    struct {
        const char* zone;
        std::string day, hour;
    } const rows[] = {{"UTC0", "2024-03-07", "09:05"},
                      {"CST-8", "2024-03-07", "17:05"},
                      {"XYZ11:30", "2024-03-06", "21:35"}};
    for (const auto& row : rows) {
        fake::clearLog();
        setenv("TZ", row.zone, 1);
        EXPECT_EQ(generateKavelTimestamp().realtimeNs, 1'709'802'302'007'999'000);
        const std::string tag = "I KavelBinder: [generateKavelTimestamp]: ";
        EXPECT_EQ(fake::takeLog(), (std::vector{tag + "generateKavelTimestamp start.",
                                                tag + row.day + " " + row.hour + ":02 007."}));
    }
    unsetenv("TZ");
}

TEST(KavelEvent, IsNamedByTypeAndRecord) {
    const KavelTimestamp now = {};
    const KavelExtraInfo info;
    KavelEvent event(-2, &now, 0, 0, 0, &info);
    event.kavelEventId = -5;
    EXPECT_EQ(eventText(event), "event 0xfffffffffffffffe (record -5)");
    for (const int64_t id : {0xF01, 0xF05}) EXPECT_TRUE(eventTypeOf(id).isAbnormalAction());
    for (const int64_t id : {0xF00, 0xF06}) EXPECT_FALSE(eventTypeOf(id).isAbnormalAction());
}

}  // namespace
}  // namespace android::kavel
