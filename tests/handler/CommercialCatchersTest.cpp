#include "handler/CommercialCatchers.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/handler/FakeDumpThreads.h"
#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kDuplicate =
        "[kavelEventHandleThread]: Event dumped since duplicate abnormal action, difftime ";

class CommercialCatchersTest : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC0", 1);
        fake::captureLog();
        fake::clearLog();
        fake::resetShell();
        fake::takeDumpThreads();
        mParameters.setEventIdMap(0, 0xF01, "reboot");
        mParameters.setEventIdMap(0, 0x3, "anr");
    }

    std::shared_ptr<KavelEvent> placed(long eventId, int64_t seconds, int logInfo = 0) {
        auto added = fake::event(eventId, seconds, "", logInfo);
        EXPECT_TRUE(mEvents.place(added));
        return added;
    }
    static std::string thread(const char* kind, int logInfo, const EventRef& event) {
        return std::string(kind) + ' ' + std::to_string(logInfo) + ' ' +
               std::to_string(event->kavelEventId) + ' ';
    }

    EventParameters mParameters;
    DumpContext mDump{mParameters};
    EventList mEvents;
    TrailCatcher mTrailCatcher{mEvents, mDump};
    CommercialCatchers mCatchers{mEvents, mDump, mTrailCatcher};
};

// Would catch a selection by age that is turned round or off by one, a list without the event
// itself at its head, and bits of other records.
TEST_F(CommercialCatchersTest, AbnormalActionNotesWhatIsOlderThanTheIncident) {
    placed(0x3, 0, 0x100);
    placed(0x5, 9, 0x200);
    placed(0x3, 10, 0x400);  // exactly 30 s before: of the incident, not of its history
    placed(0x3, 20, 0x800);
    const auto action = placed(0xF01, 40, 0x3);
    placed(0x3, 50, 0x1000);
    const CatchRef running = mDump.catches.add(action);
    mCatchers.commerialAbnormalActionKavelEventLogCatcher(action);
    EXPECT_EQ(running->commercial.relatedEvents(),
              (Lines{"2024-03-07-09-05-42-007@reboot", "2024-03-07-09-05-02-007@anr",
                     "2024-03-07-09-05-11-007@"}));
    EXPECT_TRUE(running->commercial.hasRelatedEvents());
    EXPECT_EQ(running->commercial.logInfo(), 0x3);
    EXPECT_EQ(fake::takeDumpThreads(),
              (Lines{thread("immediate", 3, action), thread("commercial", 0, action)}));
    EXPECT_EQ(fake::commandCount(""), 0u) << "the threads make the folder";
}

// Would catch a second abnormal action that is caught, or dropped, on the wrong side of 30 s, and a
// walk that goes on behind it.
TEST_F(CommercialCatchersTest, AbnormalActionsAreDroppedOrCaughtByTheirDistance) {
    const struct {
        int64_t seconds;
        const char* difference;  // null where both are caught
    } kCases[] = {
            {10, "10.000000"}, {29, "29.000000"}, {-10, "-10.000000"}, {30, nullptr}, {31, nullptr},
    };
    for (const auto& c : kCases) {
        EventList events;
        CommercialCatchers catchers{events, mDump, mTrailCatcher};
        // Placed as something else: the list itself refuses what comes so close.
        events.place(fake::event(0x3, -100));
        const auto first = fake::event(0xF03, 0);
        events.place(first);
        const auto second = fake::event(0xF01, c.seconds, "", 7);
        fake::clearLog();
        mDump.catches.add(second);
        second->kavelEventId = 99;
        const CatchRef running = mDump.catches.add(second);
        catchers.commerialAbnormalActionKavelEventLogCatcher(second);
        EXPECT_EQ(fake::logCount(kDuplicate), c.difference == nullptr ? 0u : 1u) << c.seconds;
        if (c.difference != nullptr) {
            EXPECT_EQ(fake::logCount(kDuplicate + std::string(c.difference) + ".\n"), 1u);
        }
        EXPECT_EQ(fake::takeDumpThreads().size(), c.difference == nullptr ? 2u : 0u);
        // What was noted before the walk came to the other one stays.
        EXPECT_EQ(running->commercial.relatedEvents().size(), 2u);
        EXPECT_EQ(running->commercial.logInfo(), 0) << "not in the list: none of its bits";
    }
}

// Would catch a technical event that is packed, that joins an abnormal action, or that finds an
// anchor where there is none; and one that misses a record with the notes of one.
TEST_F(CommercialCatchersTest, TechnicalEventIsCaughtOnceAndAnchoredByAnOldRecordWithNotes) {
    const auto action = placed(0xF01, 0, 0x1);
    const auto young = placed(0x3, 75, 0x1);
    const auto old = placed(0x3, 50, 0x1);
    const auto older = placed(0x3, 40, 0x1);
    const auto event = placed(0x3, 100, 0x6);
    std::vector<CatchRef> catches;
    for (const auto& record : {action, young, old, older}) {
        catches.push_back(mDump.catches.add(record));
        catches.back()->commercial.addRelatedEvent("itself");
    }
    const CatchRef running = mDump.catches.add(event);
    catches[0]->commercial.setLogInfo(0x1);
    catches[1]->commercial.setLogInfo(0x1);
    mCatchers.commerialTechnicalKavelEventLogCatcher(event);
    EXPECT_FALSE(running->commercial.hasRelatedEvents());
    EXPECT_EQ(fake::takeDumpThreads(), (Lines{thread("immediate", 6, event)}));
    const Lines joined = {"itself", "2024-03-07-09-06-42-007@anr"};
    EXPECT_EQ(catches[0]->commercial.relatedEvents().size(), 1u);
    EXPECT_EQ(catches[1]->commercial.relatedEvents().size(), 1u);
    EXPECT_EQ(catches[2]->commercial.relatedEvents(), joined);
    EXPECT_EQ(catches[3]->commercial.relatedEvents(), joined);

    catches[2]->commercial.setLogInfo(0x10);
    catches[3]->commercial.setLogInfo(0x10);
    mCatchers.commerialTechnicalKavelEventLogCatcher(event);
    EXPECT_TRUE(running->commercial.hasRelatedEvents());
    EXPECT_EQ(catches[2]->commercial.logInfo(), 0x16);
    EXPECT_EQ(catches[3]->commercial.logInfo(), 0x10) << "the walk ends at the first anchor";
    EXPECT_EQ(catches[0]->commercial.logInfo() | catches[1]->commercial.logInfo(), 0x1);
}

// Would catch a catch without a list, and its line on the wrong side.
TEST_F(CommercialCatchersTest, NothingWithoutAList) {
    mCatchers.commerialTechnicalKavelEventLogCatcher(fake::event(0x3));
    EXPECT_TRUE(fake::logLines().empty());
    mCatchers.commerialAbnormalActionKavelEventLogCatcher(fake::event(0xF01));
    EXPECT_EQ(fake::logCount("[kavelEventHandleThread]: No kavelEventListHead error, logs might be "
                             "missing.\n"),
              1u);
    EXPECT_TRUE(fake::takeDumpThreads().empty());
}

// Would catch a ring that starts at the head, loses a record, or holds others than an evicted one.
TEST_F(CommercialCatchersTest, RingStartsAtTheMainRecord) {
    std::vector<EventRef> records;
    records.reserve(33);
    for (int i = 0; i < 33; ++i) records.push_back(placed(0x3, i));
    const std::vector<EventRef> ring = mEvents.ringFrom(records[30]);
    ASSERT_EQ(ring.size(), 31u);
    EXPECT_EQ(ring[0], records[30]);
    EXPECT_EQ(ring[2], records[32]);
    EXPECT_EQ(ring[3], records[2]);
    EXPECT_EQ(ring[30], records[29]);
    EXPECT_EQ(mEvents.ringFrom(records[1]), std::vector<EventRef>{records[1]});
}

}  // namespace
}  // namespace android::kavel
