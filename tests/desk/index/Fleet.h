#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "desk/store/Rows.h"

namespace kaveldesk::test {

struct FleetOptions {
    uint32_t seed = 1;
    size_t catches = 10'000;
    size_t builds = 6;
    size_t processes = 40;
    size_t fingerprints = 300;
    int days = 60;
    bool withChildren = true;  // files, findings, statistics
};

/**
 * The catches of a fleet of phones, with known truths. Builds replace one another; few fingerprints
 * make most of the catches. Each build after the first has one fingerprint that is new, one that is
 * gone, one that is three times as frequent and one that is a quarter. One catch in fifty is there
 * twice. Same options, same catches.
 */
class Fleet {
  public:
    explicit Fleet(const FleetOptions& options);

    /** The next catch. Returns false after options.catches different ones. */
    bool next(CatchRow& row);

    /** Different catches that next() gave. */
    size_t given() const { return mGiven; }

    static std::string build(size_t number);

    /** What is planted between two builds: new, gone, up or down by fingerprint. */
    std::map<std::string, std::string> changes(size_t buildA, size_t buildB) const;

    /** A whole archive of @p row, of which kaveldesk finds the row's fingerprint: name and bytes.
     * @p logBytes  of lines without a meaning */
    struct Archive {
        std::string name;
        std::string bytes;
    };
    Archive archive(const CatchRow& row, size_t logBytes);

  private:
    struct Bug {
        std::string process;
        std::vector<std::string> signature;
        std::string fingerprint;
    };
    void plant();

    const FleetOptions mOptions;
    std::mt19937_64 mRandom;
    std::vector<Bug> mBugs;
    std::vector<std::vector<double>> mWeights;  // by build and bug
    std::vector<std::discrete_distribution<size_t>> mDraws;
    size_t mGiven = 0;
    CatchRow mLast;
};

}  // namespace kaveldesk::test
