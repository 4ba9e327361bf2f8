#include "handler/EventList.h"

#include <set>

#include <gtest/gtest.h>

#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

using fake::event;

// Would catch a ring that grows, loses its order, keeps what it evicts, or frees what is in use.
TEST(EventList, KeepsTheLast31) {
    EventList list;
    EXPECT_TRUE(list.records().empty());
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

// Would catch an id that is given twice: a record that has left the list may still be caught.
TEST(EventList, IdsAreUniqueAmongLiveRecords) {
    // The generator is seeded again at each draw: within a second it offers the same numbers again.
    EventList list;
    std::vector<std::shared_ptr<KavelEvent>> held;
    std::set<int32_t> ids;
    for (int i = 0; i < 100; ++i) {
        held.push_back(event(1));
        list.place(held.back());
        EXPECT_TRUE(ids.insert(held.back()->kavelEventId).second) << i;
    }
}

}  // namespace
}  // namespace android::kavel
