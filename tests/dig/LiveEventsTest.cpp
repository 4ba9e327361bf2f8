#include "dig/LiveEvents.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "dig/dig.h"
#include "tests/dig/PlainLists.h"
#include "tests/dig/StdoutText.h"

namespace android::kavel {
namespace {

constexpr int64_t kIds[] = {0x100300001, 0x100300002, 0x100300003, 0x100300006, 7};
const std::vector<int64_t> kRelated = {0x100300002, 0x100300006};

using Random = std::mt19937_64;

int64_t draw(Random& random, int64_t low, int64_t high) {
    return std::uniform_int_distribution<int64_t>(low, high)(random);
}

/** How the times of a sequence come about: from a scale and the time before to the next one. */
using Clock = int64_t (*)(Random&, int64_t scale, int64_t last);

constexpr Clock kClocks[] = {
        [](Random& random, int64_t scale, int64_t last) { return last + draw(random, 0, scale); },
        [](Random& random, int64_t scale, int64_t last) { return last - draw(random, 0, scale); },
        [](Random& random, int64_t scale, int64_t last) {
            return last + draw(random, -scale, 2 * scale);
        },
        [](Random& random, int64_t scale, int64_t) { return draw(random, 0, 40 * scale); },
        [](Random& random, int64_t scale, int64_t) {
            constexpr int64_t kEdges[] = {INT64_MIN, -1, 0, INT64_MAX};
            const int64_t edge = kEdges[draw(random, 0, 3)];
            return edge > 0 ? edge - draw(random, 0, scale) : edge + draw(random, 0, scale);
        },
};
constexpr int64_t kScales[] = {0, 1, 40, 250, 700, 12000};

/** Drives both with one sequence. Where they part, or an empty text. */
std::string compare(uint64_t seed) {
    Random random(seed);
    const Clock clock = kClocks[static_cast<size_t>(draw(random, 0, std::size(kClocks) - 1))];
    const int64_t scale = kScales[static_cast<size_t>(draw(random, 0, std::size(kScales) - 1))];
    const int64_t length = draw(random, 1, 400);
    test::PlainLists plain;
    LiveEvents events(kRelated);
    int64_t time = 0;
    for (int64_t i = 0; i < length; ++i) {
        const int64_t id = kIds[static_cast<size_t>(draw(random, 0, std::size(kIds) - 1))];
        time = clock(random, scale, time);
        const Event event = data2Event(id, time, "");
        const std::optional<int64_t> found = events.findRelated(event);
        events.queue(event);
        if (found == plain.send(id, time) && events.size() == plain.size()) continue;
        std::ostringstream text;
        text << "seed " << seed << " record " << i << " id " << id << " time " << time
             << ": matched " << found.value_or(0) << ", live " << events.size() << " of "
             << plain.size();
        return text.str();
    }
    return "";
}

// Would catch a digest that forgets what still matters, or remembers what has been pruned.
TEST(LiveEvents, AnswerAsThePlainListDoes) {
    std::string difference;
    {
        const test::StdoutText quiet;
        digInit();
        for (uint64_t seed = 0; seed < 6000 && difference.empty(); ++seed) {
            difference = compare(seed);
        }
        digExit();
    }
    EXPECT_EQ(difference, "");
}

// Would catch memory that grows with a flood, whichever way the times of its records go.
TEST(EventDigest, StaysSmallInAFlood) {
    constexpr int64_t kRecords = 200'000;
    constexpr size_t kPerRun = 1 + 2;  // itself, and the latest of each watched id
    struct {
        std::function<int64_t(int64_t)> time;
        size_t mostRuns;
    } const floods[] = {
            {[](int64_t) { return 5; }, 1},
            {[](int64_t i) { return -i; }, 1},
            {[](int64_t i) { return i % 100; }, 100},
            {[](int64_t i) { return i; }, 10'001},
            {[](int64_t i) { return i + 9000 * (i % 2); }, 10'001},
            {[](int64_t i) { return i % 7 == 0 ? i : -i; }, 10'001},
    };
    for (const auto& flood : floods) {
        EventDigest digest(kRelated);
        size_t entries = 0;
        for (int64_t i = 0; i < kRecords; ++i) {
            digest.prune(flood.time(i));
            digest.add(kIds[i % 5], flood.time(i));
            entries = std::max(entries, digest.entries());
        }
        EXPECT_LE(entries, kPerRun * flood.mostRuns) << &flood - floods;
    }
}

}  // namespace
}  // namespace android::kavel
