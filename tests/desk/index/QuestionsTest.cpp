#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/questions/Rates.h"
#include "tests/desk/index/Fleet.h"
#include "tests/fake/TempDir.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using test::Fleet;
using test::FleetOptions;

/** A store with a fleet, and the same rows in memory. */
struct IndexedFleet {
    explicit IndexedFleet(size_t catches) : fleet(optionsOf(catches)) {
        CatchRow row;
        Batch batch;
        while (fleet.next(row)) {
            // Names that SQL could misread, and catches without a time.
            if (rows.size() % 500 == 1) row.process = "it's \"odd\"; -- ? %";
            if (rows.size() % 500 == 2) row.utc = 0;
            batch.catches.push_back(row);
            if (rows.empty() || rows.back().hash != row.hash) rows.push_back(row);
            if (batch.catches.size() == 1000) {
                store->insert(batch);
                batch.catches.clear();
            }
        }
        store->insert(batch);
    }
    static FleetOptions optionsOf(size_t catches) {
        FleetOptions options;
        options.catches = catches;
        return options;
    }
    TempDir dir;
    Fleet fleet;
    std::vector<CatchRow> rows;
    std::unique_ptr<Store> store = openStore(dir / "index.db", Access::Write);
};

IndexedFleet& fleet() {
    static IndexedFleet instance(40'000);
    return instance;
}

bool passes(const Filter& filter, const CatchRow& row) {
    return (!filter.sinceUtc || row.utc >= *filter.sinceUtc) &&
           (!filter.untilUtc || row.utc < *filter.untilUtc) &&
           (!filter.event || row.event == *filter.event) &&
           (!filter.process || row.process == *filter.process) &&
           (!filter.build || row.build == *filter.build) &&
           (!filter.fingerprint || row.fingerprint == *filter.fingerprint);
}

using Counts = std::map<std::string, int64_t>;

Counts countsIn(const Table& table) {
    Counts counts;
    for (const Row& row : table.rows) {
        const auto* key = std::get_if<int64_t>(&row[0]);
        counts[key != nullptr ? std::to_string(*key) : textOf(row[0])] += integerOf(row[1]);
    }
    return counts;
}

// Would catch a filter that is left out of one of the two tables that counts come from, a wrong end
// of a span, a day that counts twice, and a name that ends the text of a query.
TEST(Questions, CountTheRowsThatPass) {
    const int64_t day = startOf(fleet().rows[100].utc, kMsPerDay);
    const struct {
        const char* name;
        Filter filter;
    } cases[] = {
            {"all", {}},
            {"whole days", {day, day + 3 * kMsPerDay, {}, {}, {}, {}}},
            {"parts of days", {day + 5, day + 2 * kMsPerDay + kMsPerHour + 7, {}, {}, {}, {}}},
            {"within a day", {day + kMsPerHour + 1, day + 3 * kMsPerHour + 2, {}, {}, {}, {}}},
            {"from a time on", {day + 1, {}, {}, {}, {}, {}}},
            {"up to a time", {{}, day - 1, {}, {}, {}, {}}},
            {"up to the last time there is", {INT64_MIN, INT64_MAX, {}, {}, {}, {}}},
            {"a build", {{}, {}, {}, {}, Fleet::build(2), {}}},
            {"a process and an event", {day + 9, {}, "anr", "com.example.app3", {}, {}}},
            {"a name like SQL", {{}, day + 5, {}, "it's \"odd\"; -- ? %", {}, {}}},
            {"a value that nothing has", {{}, {}, "' OR 1=1 --", {}, {}, {}}},
            {"a fingerprint", {day + 5, {}, {}, {}, {}, fleet().rows[0].fingerprint}},
    };
    const struct {
        const char* name;
        std::function<Table(const Filter&)> ask;
        std::function<std::string(const CatchRow&)> key;
    } questions[] = {
            {"processes",
             [](const Filter& f) { return top(*fleet().store, f, TopBy::Process, 500); },
             [](const CatchRow& row) { return row.process; }},
            {"events", [](const Filter& f) { return top(*fleet().store, f, TopBy::Event, 500); },
             [](const CatchRow& row) { return row.event; }},
            {"builds", [](const Filter& f) { return top(*fleet().store, f, TopBy::Build, 500); },
             [](const CatchRow& row) { return row.build; }},
            {"fingerprints",
             [](const Filter& f) { return top(*fleet().store, f, TopBy::Fingerprint, 500); },
             [](const CatchRow& row) { return row.fingerprint; }},
            {"days", [](const Filter& f) { return trend(*fleet().store, f, TrendPer::Day); },
             [](const CatchRow& row) { return std::to_string(startOf(row.utc, kMsPerDay)); }},
            {"hours", [](const Filter& f) { return trend(*fleet().store, f, TrendPer::Hour); },
             [](const CatchRow& row) { return std::to_string(startOf(row.utc, kMsPerHour)); }},
    };
    for (const auto& each : cases) {
        for (const auto& question : questions) {
            SCOPED_TRACE(fmt::format("{} of {}", question.name, each.name));
            Counts wanted;
            for (const CatchRow& row : fleet().rows) {
                if (passes(each.filter, row)) ++wanted[question.key(row)];
            }
            EXPECT_EQ(countsIn(question.ask(each.filter)), wanted);
        }
    }
}

// Would catch a page of a list that repeats or leaves out a catch.
TEST(Questions, ListsEachCatchOnce) {
    Filter filter;
    filter.process = "com.example.app3";
    std::vector<std::string> wanted;
    for (const CatchRow& row : fleet().rows) {
        if (passes(filter, row)) wanted.push_back(row.hash);
    }
    std::vector<std::string> listed;
    ListPlace place{};
    for (const ListPlace* behind = nullptr;; behind = &place) {
        const Table page = listCatches(*fleet().store, filter, 100, behind);
        if (page.rows.empty()) break;
        ASSERT_LT(listed.size(), wanted.size()) << "a page repeats";
        for (const Row& row : page.rows) listed.push_back(textOf(row[10]));
        EXPECT_LE(integerOf(page.rows.back()[0]), integerOf(page.rows.front()[0]));
        place = {integerOf(page.rows.back()[0]), listed.back()};
    }
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(wanted));
}

TEST(Questions, SimilarFindsOtherFingerprintsOfTheSameHolder) {
    const CatchRow& row = fleet().rows[0];
    const Table table = similar(*fleet().store, {}, row.kind, row.signature, 50);
    ASSERT_FALSE(table.rows.empty());
    EXPECT_EQ(table.rows[0][0], Value(1.0));
    EXPECT_EQ(table.rows[0][1], Value(row.fingerprint));
    for (const Row& found : table.rows) {
        // Two of six parts are the kind and the process.
        EXPECT_GE(std::get<double>(found[0]), 2.0 / 6) << textOf(found[7]);
        EXPECT_THAT(textOf(found[7]), testing::HasSubstr(row.process + " |"));
    }
}

TEST(Questions, ShowIsAboutOneFingerprint) {
    const CatchRow& wanted = fleet().rows[0];
    const auto parts = show(*fleet().store, {}, wanted.fingerprint);
    const auto count = std::count_if(
            fleet().rows.begin(), fleet().rows.end(),
            [&](const CatchRow& row) { return row.fingerprint == wanted.fingerprint; });
    std::map<std::string, Table> tables;
    for (const NamedTable& part : parts) tables[part.name] = part.table;
    for (const char* name : {"fingerprint", "builds", "processes", "events", "days"}) {
        int64_t sum = 0;
        for (const auto& [key, catches] : countsIn(tables[name])) sum += catches;
        EXPECT_EQ(sum, count) << name;
    }
    EXPECT_EQ(integerOf(tables["findings"].rows.at(0)[2]), std::min<int64_t>(count, 1000));
    EXPECT_EQ(tables["archives"].rows.size(), 20U);
    EXPECT_TRUE(show(*fleet().store, {}, "no such").at(0).table.rows.empty());
}

// Would catch a test without Holm's correction, a scale that follows a large regression, and a
// regression that is not found.
TEST(Questions, CompareFindsWhatIsPlantedAndNothingElse) {
    constexpr double kMostP = 0.01;  // of each of five comparisons: 5 % for all
    for (size_t b = 1; b < 6; ++b) {
        SCOPED_TRACE(Fleet::build(b));
        const Comparison found = compare(*fleet().store, {}, Fleet::build(b - 1), Fleet::build(b));
        std::map<std::string, std::string> sure;
        for (const Row& row : found.fingerprints.rows) {
            if (std::get<double>(row[6]) <= kMostP) sure[textOf(row[1])] = textOf(row[0]);
        }
        EXPECT_EQ(sure, fleet().fleet.changes(b - 1, b));
    }
}

/** The share of comparisons with a false change, where @p planted pairs change by @p factor. */
double falseShare(double factor, size_t planted, size_t comparisons, size_t* found) {
    std::mt19937_64 random(7);
    size_t wrong = 0;
    *found = 0;
    for (size_t n = 0; n < comparisons; ++n) {
        const double scale = std::uniform_real_distribution<>(0.2, 5)(random);
        std::vector<CountPair> pairs;
        for (size_t i = 0; i < 200; ++i) {
            const double mean = 4000 / (static_cast<double>(i) + 2);
            const bool isChanged = i >= 5 && i < 5 + planted;
            pairs.push_back({std::poisson_distribution<int64_t>(mean)(random),
                             std::poisson_distribution<int64_t>(mean * scale *
                                                                (isChanged ? factor : 1))(random)});
        }
        const RateChanges changes = findRateChanges(pairs);
        bool isWrong = false;
        for (size_t i = 0; i < pairs.size(); ++i) {
            const bool isSure = changes.p[i] <= 0.05;
            const bool isPlanted = i >= 5 && i < 5 + planted;
            *found += isSure && isPlanted ? 1 : 0;
            isWrong = isWrong || (isSure && !isPlanted);
        }
        wrong += isWrong ? 1 : 0;
    }
    return static_cast<double>(wrong) / static_cast<double>(comparisons);
}

// The stated confidence: at most 5 % of comparisons have any false change. 400 comparisons show 5 %
// as 2.7 to 7.5 %.
TEST(Rates, FalseChangesAreAsRareAsStated) {
    const struct {
        double factor;
        size_t planted;
    } cases[] = {{1, 0}, {20, 3}, {0, 10}, {3, 40}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.factor);
        size_t found = 0;
        EXPECT_LE(falseShare(each.factor, each.planted, 400, &found), 0.075);
        EXPECT_GE(found, each.factor == 1 ? 0 : 400 * each.planted * 9 / 10);
    }
}

// Values from R: fisher.test(matrix(c(1, 9, 11, 3), 2), alternative = "less") and "greater",
// doubled.
TEST(Rates, PIsThatOfFishersExactTest) {
    const RateChanges changes = findRateChanges({{1, 11}, {9, 3}});
    EXPECT_NEAR(changes.p[0], 2 * 2 * 0.001379728, 1e-6);
    EXPECT_EQ(findRateChanges({}).p.size(), 0U);
    EXPECT_EQ(findRateChanges({{5, 0}}).p[0], 1);
    EXPECT_EQ(findRateChanges({{0, 0}, {3, 3}}).p[0], 1);
}

}  // namespace
}  // namespace kaveldesk
