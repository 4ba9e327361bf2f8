#include "desk/questions/Filter.h"

#include <fmt/core.h>

#include <algorithm>
#include <limits>

#include "desk/store/Rows.h"

namespace kaveldesk {
namespace {

// Sums with these do not overflow.
constexpr int64_t kEarliest = std::numeric_limits<int64_t>::min() / 4;
constexpr int64_t kLatest = std::numeric_limits<int64_t>::max() / 4;

/** Joins conditions: the first begins with WHERE. */
class Conditions {
  public:
    void add(std::string_view condition, Value value) {
        mPart.add(mPart.sql.empty() ? " WHERE " : " AND ");
        mPart.add(condition, std::move(value));
    }
    void addValues(const Filter& filter) {
        const struct {
            const char* condition;
            const std::optional<std::string>& value;
        } kValues[] = {{"event = ?", filter.event},
                       {"process = ?", filter.process},
                       {"build = ?", filter.build},
                       {"fingerprint = ?", filter.fingerprint}};
        for (const auto& [condition, value] : kValues) {
            if (value) add(condition, *value);
        }
    }
    const SqlPart& part() const { return mPart; }

  private:
    SqlPart mPart;
};

/** Catches from @p since up to @p until; the hours let an engine use its order. */
SqlPart catchesBetween(const Filter& filter, int64_t since, int64_t until) {
    Conditions conditions;
    if (since != kEarliest) {
        conditions.add("utc_hour >= ?", startOf(since, kMsPerHour));
        conditions.add("utc >= ?", since);
    }
    if (until != kLatest) {
        conditions.add("utc_hour < ?", startOf(until, kMsPerHour) + kMsPerHour);
        conditions.add("utc < ?", until);
    }
    conditions.addValues(filter);
    return conditions.part();
}

SqlPart daysBetween(const Filter& filter, int64_t since, int64_t until) {
    Conditions conditions;
    if (since != kEarliest) conditions.add("utc_day >= ?", since);
    if (until != kLatest) conditions.add("utc_day < ?", until);
    conditions.addValues(filter);
    return conditions.part();
}

struct Span {
    int64_t since;
    int64_t until;
};

Span spanOf(const Filter& filter) {
    return {std::clamp(filter.sinceUtc.value_or(kEarliest), kEarliest, kLatest),
            std::clamp(filter.untilUtc.value_or(kLatest), kEarliest, kLatest)};
}

}  // namespace

void SqlPart::addList(const std::vector<std::string>& values) {
    add("(");
    for (size_t i = 0; i < values.size(); ++i) add(i == 0 ? "?" : ", ?", values[i]);
    add(")");
}

SqlPart whereCatches(const Filter& filter) {
    const Span span = spanOf(filter);
    return catchesBetween(filter, span.since, span.until);
}

SqlPart countsOf(const Filter& filter, std::string_view columns) {
    const Span span = spanOf(filter);
    const int64_t firstDay =
            span.since == kEarliest ? kEarliest : startOf(span.since + kMsPerDay - 1, kMsPerDay);
    const int64_t endDay = span.until == kLatest ? kLatest : startOf(span.until, kMsPerDay);
    SqlPart part;
    part.add("(");
    const auto addCatches = [&](int64_t since, int64_t until) {
        part.add(
                fmt::format("SELECT {}, 1 AS catches, utc AS first_utc, utc AS last_utc FROM "
                            "catches",
                            columns));
        part.add(catchesBetween(filter, since, until));
    };
    if (firstDay > endDay) {  // within one day
        addCatches(span.since, span.until);
    } else {
        part.add(fmt::format("SELECT {}, catches, first_utc, last_utc FROM daily", columns));
        part.add(daysBetween(filter, firstDay, endDay));
        if (span.since < firstDay) {
            part.add(" UNION ALL ");
            addCatches(span.since, firstDay);
        }
        if (endDay < span.until) {
            part.add(" UNION ALL ");
            addCatches(endDay, span.until);
        }
    }
    part.add(")");
    return part;
}

}  // namespace kaveldesk
