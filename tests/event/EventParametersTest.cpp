#include "event/EventParameters.h"

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

constexpr int64_t kEvent = 0x3;

// Would catch seconds taken for milliseconds, a rounded division and a zero that is not kept.
TEST(EventParameters, TimeWindowIsInSeconds) {
    fake::captureLog();
    fake::clearLog();
    EventParameters parameters;
    EXPECT_EQ(parameters.getTimeWindow(kEvent), 180);
    EXPECT_EQ(fake::logCount("getTimeWindow mDefaultTimeWindow.\n"), 1u);
    struct {
        int64_t milliseconds, seconds;
    } const rows[] = {{30000, 30}, {999, 0}, {-1500, -1},
                      {-999, 0},   {0, 0},   {INT64_MAX, INT64_MAX / 1000}};
    for (const auto& row : rows) {
        parameters.setTimeWindow(kEvent, row.milliseconds);
        EXPECT_EQ(parameters.getTimeWindow(kEvent), row.seconds);
    }
    EXPECT_EQ(parameters.getTimeWindow(kEvent + 1), 180);
    EXPECT_EQ(fake::logCount("getTimeWindow from mKavelEventTimeWindow.\n"), std::size(rows));
}

// Would catch a recover id that 0 wipes out, and a name given together with a recover id.
TEST(EventParameters, RecoverIdAndNameExcludeEachOther) {
    EventParameters parameters;
    parameters.setRecoverId(kEvent, 0);
    EXPECT_FALSE(parameters.hasRecoverId(kEvent));
    parameters.setRecoverId(kEvent, 3);
    parameters.setRecoverId(kEvent, 0);
    EXPECT_TRUE(parameters.hasRecoverId(kEvent));
    EXPECT_FALSE(parameters.hasRecoverId(kEvent + 1));

    parameters.setEventIdMap(5, kEvent, "never");
    EXPECT_EQ(parameters.eventName(kEvent), "");
    parameters.setEventIdMap(0, kEvent, "anr");
    parameters.setEventIdMap(5, kEvent, "never");
    EXPECT_EQ(parameters.eventName(kEvent), "anr");
    parameters.setEventIdMap(0, kEvent, "hang");
    EXPECT_EQ(parameters.eventName(kEvent), "hang");
}

}  // namespace
}  // namespace android::kavel
