#include <algorithm>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/questions/Rates.h"

namespace kaveldesk {
namespace {

std::string changeOf(const CountPair& pair, double expectedB) {
    if (pair.a == 0) return "new";
    if (pair.b == 0) return "gone";
    return static_cast<double>(pair.b) > expectedB ? "up" : "down";
}

}  // namespace

Comparison compare(Store& store, Filter filter, const std::string& buildA,
                   const std::string& buildB) {
    filter.build.reset();
    SqlPart part;
    part.add("SELECT fingerprint, sum(CASE WHEN build = ? THEN catches ELSE 0 END) AS a", buildA);
    part.add(", sum(CASE WHEN build = ? THEN catches ELSE 0 END) AS b FROM ", buildB);
    part.add(countsOf(filter, "fingerprint, build"));
    part.add(" WHERE build IN ");
    part.addList({buildA, buildB});
    part.add(" GROUP BY fingerprint");
    const Table counts = readTable(
            store, {part.sql,
                    part.parameters,
                    {{"fingerprint"}, {"a", ValueType::Integer}, {"b", ValueType::Integer}}});

    Comparison comparison;
    std::vector<std::string> fingerprints;
    std::vector<CountPair> pairs;
    for (const Row& row : counts.rows) {
        fingerprints.push_back(textOf(row[0]));
        pairs.push_back({integerOf(row[1]), integerOf(row[2])});
        comparison.catchesA += pairs.back().a;
        comparison.catchesB += pairs.back().b;
    }
    const RateChanges changes = findRateChanges(pairs);
    comparison.scale = changes.scale;
    auto known = knownFingerprints(store, fingerprints);
    comparison.fingerprints.columns = {{"change"},
                                       {"fingerprint"},
                                       {"kind"},
                                       {"a", ValueType::Integer},
                                       {"b", ValueType::Integer},
                                       {"expected", ValueType::Real},
                                       {"p", ValueType::Real},
                                       {"signature"}};
    std::vector<size_t> order(pairs.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        if (changes.p[x] != changes.p[y]) return changes.p[x] < changes.p[y];
        return fingerprints[x] < fingerprints[y];
    });
    for (const size_t i : order) {
        const KnownFingerprint& about = known[fingerprints[i]];
        comparison.fingerprints.rows.push_back(
                {changeOf(pairs[i], changes.expectedB[i]), fingerprints[i], about.kind, pairs[i].a,
                 pairs[i].b, changes.expectedB[i], changes.p[i], about.signature});
    }
    return comparison;
}

}  // namespace kaveldesk
