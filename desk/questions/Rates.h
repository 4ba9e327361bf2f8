#pragma once

#include <cstdint>
#include <vector>

namespace kaveldesk {

/** Catches of one fingerprint in two builds. */
struct CountPair {
    int64_t a = 0;
    int64_t b = 0;
};

/** What differs between two builds, beyond what chance explains. */
struct RateChanges {
    double scale = 0;               // b for each a if nothing has changed; 0 if unknown
    std::vector<double> expectedB;  // of each pair
    std::vector<double> p;          // of each pair, corrected for their number
};

/**
 * Compares each pair with all pairs that seem unchanged.
 *
 * How many phones run a build is not known, and one fingerprint that rises must not make all others
 * seem to fall. So the scale comes from the pairs themselves: those whose share of b is next to the
 * median, and then all that fit to these within three standard errors.
 *
 * Each pair is tested against the sum of these by Fisher's exact test (twice the smaller tail). It
 * holds for counts of any size, and it includes that the scale is an estimate. Holm's correction
 * makes p the chance of one or more false changes among all pairs.
 */
RateChanges findRateChanges(const std::vector<CountPair>& pairs);

}  // namespace kaveldesk
