// Would catch seconds that are taken for milliseconds, a rounded division, a zero that is not kept,
// a recover id that 0 replaces, and a name that is kept together with a recover id.

#include "event/EventParameters.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

constexpr int64_t kEvent = 0x3;

TEST(EventParameters, TimeWindowIsInSeconds) {
    fake::captureLog();
    fake::clearLog();
    EventParameters parameters;
    EXPECT_EQ(parameters.getTimeWindow(kEvent), 180);
    for (const auto& [milliseconds, seconds] : std::vector<std::pair<int64_t, int64_t>>{
                 {30000, 30}, {999, 0}, {-1500, -1}, {0, 0}, {INT64_MAX, INT64_MAX / 1000}}) {
        parameters.setTimeWindow(kEvent, milliseconds);
        EXPECT_EQ(parameters.getTimeWindow(kEvent), seconds);
    }
    const std::string source = "I [dravo_kavel getTimeWindow]: getTimeWindow ";
    const std::string stored = source + "from mKavelEventTimeWindow.";
    EXPECT_EQ(fake::takeLog(), (std::vector{source + "mDefaultTimeWindow.", stored, stored, stored,
                                            stored, stored}));
}

TEST(EventParameters, RecoverIdAndNameExcludeEachOther) {
    EventParameters parameters;
    parameters.setRecoverId(kEvent, 0);
    EXPECT_FALSE(parameters.hasRecoverId(kEvent));
    for (const int64_t id : {3, 0}) parameters.setRecoverId(kEvent, id);
    EXPECT_EQ(parameters.recoverId(kEvent), 3);
    EXPECT_FALSE(parameters.hasRecoverId(kEvent + 1));

    struct {
        int64_t recoverId;
        const char* given;
        const char* kept;
    } const names[] = {{5, "never", ""}, {0, "anr", "anr"}, {5, "never", "anr"}, {0, "", ""}};
    EXPECT_EQ(parameters.findEventName(kEvent), std::nullopt);
    for (const auto& name : names) {
        parameters.setEventIdMap(name.recoverId, kEvent, name.given);
        EXPECT_EQ(parameters.eventName(kEvent), name.kept);
    }
    EXPECT_EQ(parameters.findEventName(kEvent), "");
}

// Would catch a look-up that shows as a setting, or a setting under another type.
TEST(EventParameters, StatusHasWhatWasConfigured) {
    EventParameters parameters;
    parameters.isEnabled(0x7);
    parameters.eventName(0x7);
    parameters.updateEventParams(0x2, true, 9);
    parameters.setTimeWindow(0x2, 1500);
    parameters.setEventIdMap(0, 0x2, "two");
    parameters.setTimeWindow(0x1, 0);
    parameters.setRecoverId(0x1, 3);
    std::string text;
    for (const EventTypeStatus& type : parameters.status()) {
        text += std::to_string(type.eventId) + type.name + " " + std::to_string(type.isEnabled) +
                " " + std::to_string(type.windowMs) + " " + std::to_string(type.frequency) + " " +
                std::to_string(type.recoverId) + "; ";
    }
    EXPECT_EQ(text, "1 0 0 0 3; 2two 1 1500 9 0; ");
}

}  // namespace
}  // namespace android::kavel
