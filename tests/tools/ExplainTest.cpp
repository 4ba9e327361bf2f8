#include "tools/Explain.h"

#include <gtest/gtest.h>

namespace android::kavel::tools {
namespace {

const ExplainedBit* find(const Explanation& explanation, uint32_t bit) {
    for (const ExplainedBit& each : explanation.bits) {
        if (each.bit == bit) return &each;
    }
    return nullptr;
}

// Catches a wait promised or denied wrongly: engineers choose masks by it.
TEST(Explain, TellsWhichBitsAreNeverCollected) {
    const struct {
        uint32_t mask;
        uint32_t secondRound;
        uint32_t neverCollected;
        uint32_t notAskedFor;
        bool waits;
    } cases[] = {
            {0, 0, 0, 0, false},
            {0x40, 0, 0x40, 0x20, true},
            {0x60, 0, 0x40, 0, true},
            {0x103B, 0x1003, 0, 0, false},
            {0x101003, 0x101003, 0, 0, false},
            {0x10000005, 1, 0x10000004, 0, true},
            {0x62000001, 1, 0x62000000, 0, true},
            {0x80000001, 1, 0x80000000, 0, true},
    };
    for (const auto& each : cases) {
        const Explanation explanation = explainMask(each.mask, std::nullopt);
        EXPECT_EQ(explanation.secondRound, each.secondRound) << each.mask;
        EXPECT_EQ(explanation.neverCollected, each.neverCollected) << each.mask;
        EXPECT_EQ(explanation.notAskedFor, each.notAskedFor) << each.mask;
        EXPECT_EQ(explanation.waitsFullTime(), each.waits) << each.mask;
    }
}

// Catches command texts that are not what the daemon runs.
TEST(Explain, ShowsTheExactCommands) {
    const Explanation explanation = explainMask(0x400001B, std::nullopt);
    const ExplainedBit* display = find(explanation, 0x8);
    ASSERT_NE(display, nullptr);
    ASSERT_EQ(display->commands.size(), 3U);
    EXPECT_EQ(display->commands[1].text, "dumpsys SurfaceFlinger > FOLDER/dumpsysSF-TIME.txt");
    EXPECT_EQ(display->commands[1].order, 4U);
    EXPECT_EQ(find(explanation, 0x4000000)->commands[1].text,
              "dumpsys activity top> FOLDER/dumpsys_activity_top-TIME.txt");
    EXPECT_TRUE(explanation.hasHeavy);
    EXPECT_FALSE(explainMask(0x1B, std::nullopt).hasHeavy);
}

// Catches a trace promised to an event type that does not get it, or not shown where it is added.
TEST(Explain, TracesDependOnTheEventType) {
    const struct {
        uint32_t mask;
        std::optional<int64_t> event;
        uint32_t bit;
        bool shown;
        bool taken;
        bool added;
    } cases[] = {
            {0x1, 0x4, 0x20000000, true, true, true},
            {0x1, 0x301, 0x2000000, true, true, true},
            {0x1, 0x3, 0x20000000, false, false, false},
            {0x20000000, 0x4, 0x20000000, true, true, false},
            {0x20000000, 0x3, 0x20000000, true, false, false},
            {0x20000000, std::nullopt, 0x20000000, true, true, false},
            {0x2000000, 0x4, 0x2000000, true, false, false},
            {0x10000000, std::nullopt, 0x10000000, true, true, false},
            {0x10000004, std::nullopt, 0x10000000, true, false, false},
            {0x80000000, std::nullopt, 0x80000000, true, false, false},
    };
    for (const auto& each : cases) {
        const Explanation explanation = explainMask(each.mask, each.event);
        const ExplainedBit* bit = find(explanation, each.bit);
        ASSERT_EQ(bit != nullptr, each.shown) << each.mask;
        if (bit == nullptr) continue;
        EXPECT_EQ(bit->taken, each.taken) << each.mask;
        EXPECT_EQ(bit->addedByEvent, each.added) << each.mask;
    }
    ASSERT_NE(explainMask(0, 0x705).frameworkTrace, nullptr);
    EXPECT_EQ(explainMask(0, 0x705).frameworkTrace->traceCode, 0x1000400E);
}

}  // namespace
}  // namespace android::kavel::tools
