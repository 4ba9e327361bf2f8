#include "handler/EventList.h"

#include <set>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

using fake::event;

class EventListTest : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
    }
};

// Would catch a wrong limit, a sign that is ignored, and ids that are compared with each other.
TEST_F(EventListTest, RepeatedAbnormalActionIsRefused) {
    struct {
        long present, added;
        int64_t gap;
        const char* refusal;
    } const rows[] = {
            {0xF01, 0xF03, 10, "difftime 10.000000.\n"},
            {0xF01, 0xF01, 29, "difftime 29.000000.\n"},
            {0xF05, 0xF01, -90, "difftime -90.000000.\n"},
            {0xF02, 0xF02, 0, "difftime 0.000000.\n"},
            {0xF01, 0xF03, 30, nullptr},
            {0xF01, 0xF01, 31, nullptr},
            {0xF00, 0xF01, 0, nullptr},
            {0xF01, 0xF06, 0, nullptr},
            {0x3, 0x3, 0, nullptr},
    };
    for (const auto& row : rows) {
        fake::clearLog();
        EventList list;
        const auto first = event(row.present);
        EXPECT_TRUE(list.place(first));
        EXPECT_TRUE(list.place(event(0x3, 5)));
        auto second = event(row.added, row.gap);
        const std::weak_ptr<KavelEvent> released = second;
        EXPECT_EQ(list.place(second), row.refusal == nullptr) << row.present << " " << row.gap;
        second.reset();
        EXPECT_EQ(released.expired(), row.refusal != nullptr);
        EXPECT_EQ(list.records().size(), row.refusal == nullptr ? 3u : 2u);
        EXPECT_EQ(fake::logCount("Event dumped since duplicate abnormal action, "),
                  row.refusal == nullptr ? 0u : 1u);
        if (row.refusal != nullptr) {
            EXPECT_EQ(fake::logCount(row.refusal), 1u) << row.refusal;
        }
    }
}

// Would catch a ring that grows, loses its order, keeps what it evicts, or frees what is in use.
TEST_F(EventListTest, KeepsTheLast31) {
    EventList list;
    EXPECT_TRUE(list.isEmpty());
    std::vector<std::weak_ptr<KavelEvent>> placed;
    std::shared_ptr<KavelEvent> held;
    for (long id = 100; id < 140; ++id) {
        const auto added = event(id);
        if (id == 103) held = added;
        placed.push_back(added);
        EXPECT_TRUE(list.place(added));
    }
    const auto records = list.records();
    ASSERT_EQ(records.size(), 31u);
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i]->eventId, static_cast<int64_t>(109 + i));
        EXPECT_EQ(records[i]->next, records[(i + 1) % records.size()]);
    }
    for (size_t i = 0; i < placed.size(); ++i) EXPECT_EQ(placed[i].expired(), i < 9 && i != 3) << i;
    EXPECT_EQ(held->next, nullptr);
}

// Would catch an id that a record outside the list, still being caught, has already.
TEST_F(EventListTest, IdsAreUniqueAmongLiveRecords) {
    // The generator starts anew at each draw: within a second it offers the same numbers again.
    EventList list;
    std::vector<std::shared_ptr<KavelEvent>> held;
    std::set<int32_t> ids;
    for (int i = 0; i < 100; ++i) {
        held.push_back(event(1));
        list.place(held.back());
        EXPECT_TRUE(ids.insert(held.back()->kavelEventId).second) << i;
        EXPECT_EQ(ids.count(list.generateKavelEventId()), 0u);
    }
}

}  // namespace
}  // namespace android::kavel
