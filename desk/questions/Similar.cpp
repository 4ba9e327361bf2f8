#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"

namespace kaveldesk {
namespace {

constexpr double kLeast = 0.3;

std::set<std::string> partsOf(const std::string& signature) {
    constexpr std::string_view kBetween = " | ";
    std::set<std::string> parts;
    for (size_t start = 0; start < signature.size();) {
        const size_t end = std::min(signature.find(kBetween, start), signature.size());
        parts.insert(signature.substr(start, end - start));
        start = end + kBetween.size();
    }
    return parts;
}

double similarity(const std::set<std::string>& a, const std::set<std::string>& b) {
    std::vector<std::string> common;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(common));
    const size_t all = a.size() + b.size() - common.size();
    return all == 0 ? 0 : static_cast<double>(common.size()) / static_cast<double>(all);
}

struct Similar {
    double similarity;
    std::string fingerprint;
    std::string signature;
};

/** Keeps the most similar ones of all fingerprints that it is given. */
class Best : public RowSink {
  public:
    Best(const std::string& signature, size_t limit) : mParts(partsOf(signature)), mLimit(limit) {}

    void begin(const std::vector<Column>&) override {}
    void add(const Row& row) override {
        const std::string signature = textOf(row[1]);
        const double value = similarity(mParts, partsOf(signature));
        if (value < kLeast) return;
        mFound.push_back({value, textOf(row[0]), signature});
        if (mFound.size() > 2 * mLimit) cut();
    }
    std::vector<Similar> take() {
        cut();
        return std::move(mFound);
    }

  private:
    void cut() {
        std::sort(mFound.begin(), mFound.end(), [](const Similar& a, const Similar& b) {
            return a.similarity != b.similarity ? a.similarity > b.similarity
                                                : a.fingerprint < b.fingerprint;
        });
        if (mFound.size() > mLimit) mFound.resize(mLimit);
    }
    const std::set<std::string> mParts;
    const size_t mLimit;
    std::vector<Similar> mFound;
};

}  // namespace

Table similar(Store& store, const Filter& filter, const std::string& kind,
              const std::string& signature, size_t limit) {
    Table table{{{"similarity", ValueType::Real},
                 {"fingerprint"},
                 {"kind"},
                 {"catches", ValueType::Integer},
                 {"first", ValueType::Time},
                 {"last", ValueType::Time},
                 {"builds", ValueType::Integer},
                 {"signature"}},
                {}};
    Best best(signature, limit);
    store.read({"SELECT fingerprint, min(signature) AS s FROM fingerprints WHERE kind = ? "
                "GROUP BY fingerprint",
                {kind},
                {{"fingerprint"}, {"signature"}}},
               best);
    const std::vector<Similar> similars = best.take();
    std::vector<std::string> fingerprints;
    fingerprints.reserve(similars.size());
    for (const Similar& found : similars) fingerprints.push_back(found.fingerprint);
    std::map<std::string, Row> counts;
    for (const Row& row : countFingerprints(store, filter, fingerprints).rows)
        counts[textOf(row[0])] = row;
    for (const Similar& found : similars) {
        const Row& row = counts[found.fingerprint];
        if (row.empty()) continue;  // all of its catches are outside of the filter
        table.rows.push_back({found.similarity, found.fingerprint, kind, row[1], row[2], row[3],
                              row[4], found.signature});
    }
    return table;
}

}  // namespace kaveldesk
