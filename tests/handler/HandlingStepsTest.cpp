#include "handler/HandlingSteps.h"

#include <string>
#include <vector>

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "handler/EventBuilder.h"
#include "tests/fake/FakeLog.h"
#include "tests/handler/FakeDumpThreads.h"
#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

class HandlingStepsTest : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC0", 1);
        fake::captureLog();
        fake::clearLog();
        fake::takeDumpThreads();
    }
    void TearDown() override {
        for (const char* const name :
             {"ro.build.release_type", "sys.kavel.panic_enable_mask", "persist.sys.agingtest"}) {
            base::SetProperty(name, "");
        }
    }

    void setCommercial(bool commercial) {
        base::SetProperty("ro.build.release_type", commercial ? "true" : "");
        base::SetProperty("sys.kavel.panic_enable_mask", commercial ? "true" : "");
    }

    EventParameters mParameters;
    DumpContext mDump{mParameters};
    EventList mEvents;
    VariantPolicy mVariant;
    TrailCatcher mTrailCatcher{mEvents, mDump};
    CommercialCatchers mCommercial{mEvents, mDump, mTrailCatcher};
    RecoveryActions mRecovery{mParameters};
    HandlingSteps mSteps{mEvents,       mParameters, mDump,    mVariant,
                         mTrailCatcher, mCommercial, mRecovery};
};

// Would catch an event that is taken down another road, or down two.
TEST_F(HandlingStepsTest, EachEventTakesOneRoad) {
    constexpr const char* kNothing = "don't catchlog, just return \n";
    constexpr const char* kNwatchcall = "don't catch any kavel log, just catch nwatchall log.\n";
    constexpr const char* kTrail = "trailKavelLogCatcher started.\n";
    constexpr const char* kTechnical = "commerialKavelLogCatcher technical event found.\n";
    constexpr const char* kAbnormal = "commerialKavelLogCatcher abnormal action event found.\n";
    constexpr const char* kRecovery =
            "[dravo_kavel doKavelRecoverAction]: pid:1 eventId:268435461 ";
    const std::vector<std::string> roads = {kNothing,   kNwatchcall, kTrail,
                                            kTechnical, kAbnormal,   kRecovery};
    mParameters.setRecoverId(0x10000005, 3);
    mParameters.setRecoverId(0x3, 3);  // too low an id to be recovered
    struct {
        long eventId;
        bool commercial;
        const char* agingTest;
        const char* road;
    } const rows[] = {
            {0x203, false, "", kNothing},
            {0x204, true, "", kNothing},
            {0x402, false, "", kNothing},
            {0x804, true, "", kNothing},
            {0x401, false, "", kNwatchcall},
            {0x401, true, "", kNwatchcall},
            {0x3, false, "", kTrail},
            {0xF01, false, "", kTrail},
            {0x3, true, "", kTechnical},
            {0xF06, true, "", kTechnical},
            {0xF05, true, "", kAbnormal},
            {0x10000005, false, "", kRecovery},
            {0x10000005, false, "0", kRecovery},
            {0x10000005, false, "1", ""},
            {0x10000005, true, "", ""},
            {0x10000006, false, "", kTrail},
            {0x10000006, true, "", kTechnical},
    };
    int64_t seconds = 0;
    for (const auto& row : rows) {
        setCommercial(row.commercial);
        base::SetProperty("persist.sys.agingtest", row.agingTest);
        fake::clearLog();
        mSteps.kavelEventHandleThread(fake::event(row.eventId, seconds += 100));
        EXPECT_EQ(fake::logCount("dravo_statistic_common kavel event upload.\n"), 1u);
        for (const std::string& road : roads) {
            EXPECT_EQ(fake::logCount(road), road == row.road ? 1u : 0u) << row.eventId << road;
        }
        std::string kinds;
        for (const std::string& started : fake::takeDumpThreads()) kinds += started.substr(0, 3);
        EXPECT_EQ(kinds, row.road == kTrail       ? "immcon"
                         : row.road == kTechnical ? "imm"
                         : row.road == kAbnormal  ? "immcom"
                                                  : "")
                << row.eventId;
        EXPECT_EQ(fake::logCount("copyNwatchcallLog start."), row.road == kNwatchcall ? 1u : 0u);
        // Its window is over before the next row.
        mDump.combinedDumpRunning = false;
    }
}

// Would catch a dump with each record's own time, or without the tag that readers filter by.
TEST_F(HandlingStepsTest, ListDumpShowsTheOldestTimeOnEveryLine) {
    for (int i = 0; i < 40; ++i) {
        fake::clearLog();
        mSteps.kavelEventHandleThread(fake::event(0x402, i, "", 1000 + i));
    }
    const std::string head = "[dravo_kavel showAllKavelEvents]:eventID: 1026 logInfo: ";
    EXPECT_EQ(fake::logCount(head), 31u);
    for (int i = 9; i < 40; ++i) {
        const std::string line =
                head + std::to_string(1000 + i) + " timestamp: 2024-03-07 09:05:11 007.\n";
        EXPECT_EQ(fake::logCount(line), 1u) << line;
    }
    for (const auto& line : fake::logLines()) {
        if (line.text.find(head) == 0) {
            EXPECT_EQ(line.tag, "KavelBinder");
        }
    }
}

// Would catch the messaging app's logs on a commercial build, or for another event or process.
TEST_F(HandlingStepsTest, XlogIsRequestedForTheMessagingAppOnly) {
    struct {
        long eventId;
        const char* process;
        bool commercial, requested;
    } const rows[] = {
            {0x3, "com.tencent.mm", false, true},  {0x101, "com.tencent.mm", false, true},
            {0x5, "com.tencent.mm", false, true},  {0x5, "com.tencent.mm", true, false},
            {0x4, "com.tencent.mm", false, false}, {0x3, "com.tencent.mm:push", false, false},
    };
    for (const auto& row : rows) {
        mDump.xlogRequested = false;
        setCommercial(row.commercial);
        mSteps.kavelEventHandleThread(fake::event(row.eventId, 0, row.process));
        EXPECT_EQ(mDump.xlogRequested, row.requested) << row.eventId << row.process;
    }
}

// Would catch a report that is built although its type is off, and extra text that is kept against
// the type's form.
TEST_F(HandlingStepsTest, BuilderObeysTheSettings) {
    const KavelTimestamp now = fake::event(0)->timestamp;
    EXPECT_FALSE(buildNewKavelEvent(mParameters, mSteps, {0x402, &now, 7, 8, 9, "text"}));
    EXPECT_EQ(fake::logCount("buildNewKavelEvent eventId: 0x402 is Disable! value: 0"), 1u);
    EXPECT_TRUE(mEvents.isEmpty());

    for (const long eventId : {0x402, 0x1}) {
        mParameters.updateEventParams(eventId, true, 0);
        EXPECT_TRUE(buildNewKavelEvent(mParameters, mSteps, {eventId, &now, 7, 8, 9, "text"}));
        const EventRef built = mEvents.records().back();
        EXPECT_EQ(built->eventId, eventId);
        EXPECT_EQ(built->timestamp.realtimeNs, now.realtimeNs);
        EXPECT_EQ(built->logInfo * 100 + built->pid * 10 + built->uid, 789);
        EXPECT_EQ(built->extraInfo.processName, eventId == 0x1 ? "text" : "");
    }
}

}  // namespace
}  // namespace android::kavel
