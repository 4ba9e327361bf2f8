#include "desk/questions/Rates.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace kaveldesk {
namespace {

struct Sums {
    double a = 0;
    double b = 0;

    double all() const { return a + b; }
    double share() const { return b / (a + b); }
};

double countOf(const CountPair& pair) {
    return static_cast<double>(pair.a) + static_cast<double>(pair.b);
}

/** The share of b that half of the weight is below; a pair weighs the root of its count. */
double medianShare(const std::vector<CountPair>& pairs) {
    std::vector<std::pair<double, double>> shares;  // and weights
    double all = 0;
    for (const CountPair& pair : pairs) {
        if (countOf(pair) == 0) continue;
        shares.emplace_back(static_cast<double>(pair.b) / countOf(pair), std::sqrt(countOf(pair)));
        all += shares.back().second;
    }
    std::sort(shares.begin(), shares.end());
    double below = 0;
    for (const auto& [share, weight] : shares) {
        below += weight;
        if (below >= all / 2) return share;
    }
    return 0;
}

/** How far the share of @p pair is from @p share, in standard errors of its count. */
double distance(const CountPair& pair, double share, double othersCount) {
    const double count = countOf(pair);
    if (count == 0) return 0;
    const double variance = share * (1 - share) * (1 / count + 1 / othersCount);
    return std::abs(static_cast<double>(pair.b) / count - share) / std::sqrt(variance);
}

Sums sumOf(const std::vector<CountPair>& pairs, const std::vector<bool>& isUsed) {
    Sums sums;
    for (size_t i = 0; i < pairs.size(); ++i) {
        if (!isUsed[i]) continue;
        sums.a += static_cast<double>(pairs[i].a);
        sums.b += static_cast<double>(pairs[i].b);
    }
    return sums;
}

/** The half of @p pairs whose shares are next to @p share. */
std::vector<bool> nearestHalf(const std::vector<CountPair>& pairs, double share) {
    std::vector<size_t> order(pairs.size());
    std::iota(order.begin(), order.end(), 0);
    const double many = 1e18;
    std::stable_sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        return distance(pairs[x], share, many) < distance(pairs[y], share, many);
    });
    std::vector<bool> isUsed(pairs.size(), false);
    for (size_t i = 0; i < (order.size() + 1) / 2; ++i) isUsed[order[i]] = true;
    return isUsed;
}

/** Which of @p pairs seem unchanged. */
std::vector<bool> findUnchanged(const std::vector<CountPair>& pairs) {
    constexpr double kMostDistance = 3;
    constexpr int kRounds = 20;
    const double share = medianShare(pairs);
    if (share <= 0 || share >= 1) return std::vector<bool>(pairs.size(), true);
    std::vector<bool> isUsed = nearestHalf(pairs, share);
    for (int round = 0; round < kRounds; ++round) {
        const Sums sums = sumOf(pairs, isUsed);
        if (sums.a == 0 || sums.b == 0) return std::vector<bool>(pairs.size(), true);
        std::vector<bool> next;
        next.reserve(pairs.size());
        for (const CountPair& pair : pairs) {
            next.push_back(distance(pair, sums.share(), sums.all()) < kMostDistance);
        }
        if (next == isUsed) break;
        isUsed = std::move(next);
    }
    return isUsed;
}

double logFactorial(double n) {
    int sign = 0;
    return lgamma_r(n + 1, &sign);
}

/**
 * The chance of @p b or more (@p isUpper), or of @p b or fewer, of the b among @p count, if @p
 * count are drawn from themselves and @p others.
 */
double tail(double b, double count, const Sums& others, bool isUpper) {
    const double allB = others.b + b;
    const double allA = others.a + count - b;
    const double all = allA + allB;
    const auto logChance = [&](double x) {
        return logFactorial(allB) - logFactorial(x) - logFactorial(allB - x) + logFactorial(allA) -
               logFactorial(count - x) - logFactorial(allA - count + x) - logFactorial(all) +
               logFactorial(count) + logFactorial(all - count);
    };
    const double least = std::max(0.0, count - allA);
    const double most = std::min(count, allB);
    double chance = std::exp(logChance(b));
    double sum = chance;
    // Each chance follows from the one before it. Towards the tail they fall.
    for (double x = b; isUpper ? x < most : x > least; x += isUpper ? 1 : -1) {
        chance *= isUpper ? (allB - x) * (count - x) / ((x + 1) * (allA - count + x + 1))
                          : x * (allA - count + x) / ((allB - x + 1) * (count - x + 1));
        sum += chance;
        if (chance < sum * 1e-12) break;
    }
    return std::min(1.0, sum);
}

double fisher(const CountPair& pair, const Sums& others) {
    const double b = static_cast<double>(pair.b);
    const double count = countOf(pair);
    if (count == 0 || others.all() == 0) return 1;
    return std::min(1.0, 2 * std::min(tail(b, count, others, true), tail(b, count, others, false)));
}

/** Holm's correction: p as the chance of one or more errors among all. */
void correct(std::vector<double>& p) {
    std::vector<size_t> order(p.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](size_t x, size_t y) { return p[x] < p[y]; });
    double most = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        most = std::max(most, std::min(1.0, p[order[i]] * static_cast<double>(p.size() - i)));
        p[order[i]] = most;
    }
}

}  // namespace

RateChanges findRateChanges(const std::vector<CountPair>& pairs) {
    const std::vector<bool> isUsed = findUnchanged(pairs);
    const Sums unchanged = sumOf(pairs, isUsed);
    RateChanges changes;
    changes.scale = unchanged.a == 0 ? 0 : unchanged.b / unchanged.a;
    for (size_t i = 0; i < pairs.size(); ++i) {
        Sums others = unchanged;
        if (isUsed[i]) {
            others.a -= static_cast<double>(pairs[i].a);
            others.b -= static_cast<double>(pairs[i].b);
        }
        changes.expectedB.push_back(others.all() == 0 ? 0 : countOf(pairs[i]) * others.share());
        changes.p.push_back(fisher(pairs[i], others));
    }
    correct(changes.p);
    return changes;
}

}  // namespace kaveldesk
