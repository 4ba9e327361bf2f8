// Would catch a digest that forgets what still matters or remembers what has been pruned, and
// memory that grows with a flood, in whichever way the times of its records go.

#include "dig/LiveEvents.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <malloc.h>

#include "dig/dig.h"
#include "tests/dig/PlainLists.h"

namespace android::kavel {
namespace {

constexpr int64_t kIds[] = {0x100300001, 0x100300002, 0x100300003, 0x100300006, 7};
const std::vector<int64_t> kRelated = {0x100300002, 0x100300006};

using Random = std::mt19937_64;

int64_t draw(Random& random, int64_t low, int64_t high) {
    return std::uniform_int_distribution<int64_t>(low, high)(random);
}

/** The time after @p last in a sequence of one of five kinds. */
int64_t nextTime(Random& random, uint64_t kind, int64_t scale, int64_t last) {
    if (kind == 0) return last + draw(random, 0, scale);
    if (kind == 1) return last - draw(random, 0, scale);
    if (kind == 2) return last + draw(random, -scale, 2 * scale);
    if (kind == 3) return draw(random, -20 * scale, 20 * scale);
    return random() % 2 == 0 ? INT64_MIN + draw(random, 0, scale)
                             : INT64_MAX - draw(random, 0, scale);
}

/** Gives both one sequence. Returns where they first differ, or an empty text. */
std::string compare(uint64_t seed) {
    constexpr int64_t kScales[] = {0, 1, 40, 250, 700, 12000};
    Random random(seed);
    const uint64_t kind = random() % 5;
    const int64_t scale = kScales[random() % std::size(kScales)];
    const uint64_t length = 1 + random() % 400;
    test::PlainLists plain;
    LiveEvents events(kRelated);
    int64_t time = 0;
    for (uint64_t i = 0; i < length; ++i) {
        time = nextTime(random, kind, scale, time);
        const Event event = data2Event(kIds[random() % std::size(kIds)], time, "");
        const std::optional<int64_t> found = events.findRelated(event);
        events.queue(event);
        if (found != plain.send(event.id, time) || events.size() != plain.size()) {
            return "event " + std::to_string(i) + " of seed " + std::to_string(seed);
        }
    }
    return "";
}

TEST(LiveEvents, AnswerAsThePlainListDoes) {
    std::string difference;
    testing::internal::CaptureStdout();  // a line for each event
    digInit();
    for (uint64_t seed = 0; seed < 3000 && difference.empty(); ++seed) difference = compare(seed);
    digExit();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(difference, "");
}

TEST(EventDigest, StaysSmallInAFlood) {
    constexpr size_t kPerRun = 48;    // bytes: itself, and the latest of each watched id
    constexpr size_t kSlack = 32768;  // bytes: the blocks of the queues
    const struct {
        int64_t (*time)(int64_t i);
        size_t mostRuns;
    } floods[] = {
            {[](int64_t i) { return -i; }, 1},
            {[](int64_t i) { return i % 100; }, 100},
            {[](int64_t i) { return i + 9000 * (i % 2); }, 10'001},
    };
    for (const auto& flood : floods) {
        const size_t before = mallinfo2().uordblks;
        EventDigest digest(kRelated);
        size_t bytes = 0;
        for (int64_t i = 0; i < 200'000; ++i) {
            digest.prune(flood.time(i));
            digest.add(kIds[i % 5], flood.time(i));
            if (i % 1000 == 0) bytes = std::max(bytes, mallinfo2().uordblks - before);
        }
        EXPECT_LE(bytes, kPerRun * flood.mostRuns + kSlack) << &flood - floods;
    }
}

}  // namespace
}  // namespace android::kavel
