#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "desk/questions/Filter.h"
#include "desk/store/Store.h"
#include "desk/store/Table.h"

namespace kaveldesk {

// Each question is SQL that all engines know in the same form: no joins, no functions of one
// engine, aliases that are no names of columns, "?" for values. Columns have the names that their
// tables below give. Throw what Store::read() throws.

enum class TopBy : uint8_t { Process, Event, Fingerprint, Build };

/**
 * The values with the most catches: the value, "catches", "first", "last", "builds" (how many); for
 * fingerprints also "kind" and "signature". Catches without a value are a row with an empty one.
 */
Table top(Store& store, const Filter& filter, TopBy by, size_t limit);

/** The first columns of top() for those of @p fingerprints that have a catch, in no order. */
Table countFingerprints(Store& store, const Filter& filter,
                        const std::vector<std::string>& fingerprints);

enum class TrendPer : uint8_t { Day, Hour };

/** "utc", "catches" for each day or hour that has any, in their order. */
Table trend(Store& store, const Filter& filter, TrendPer per);

/** "fingerprint", "utc", "catches" of each day, for several fingerprints at once. */
Table trendOf(Store& store, const Filter& filter, const std::vector<std::string>& fingerprints);

/** Where a page of a list starts: behind this catch. */
struct ListPlace {
    int64_t utc;
    std::string hash;
};

/**
 * Catches that pass @p filter, the latest first, at most @p limit: "utc", "event", "process",
 * "build", "broken", "fingerprint", "kind", "headline", "archive", "size", "hash".
 */
Table listCatches(Store& store, const Filter& filter, size_t limit,
                  const ListPlace* behind = nullptr);

/** One catch: all columns of the table catches but the id; no row if @p hash is not in the store.
 */
Table catchOf(Store& store, const std::string& hash);

/** A part of an answer that has several. */
struct NamedTable {
    std::string name;
    Table table;
};

/**
 * All about a fingerprint: "fingerprint" (one row; none if nothing is known of it), "builds",
 * "processes", "events", "days", "findings" (of its latest 1000 catches), "archives" (the latest
 * 20). The fingerprint of @p filter is not used.
 */
std::vector<NamedTable> show(Store& store, Filter filter, const std::string& fingerprint);

/**
 * Fingerprints that are like that of the signature @p signature of @p kind, the most similar first:
 * "similarity" (1: the same parts; the parts in common divided by all parts), "fingerprint",
 * "kind", "catches", "first", "last", "builds", "signature". At most @p limit, from 0.3 on.
 */
Table similar(Store& store, const Filter& filter, const std::string& kind,
              const std::string& signature, size_t limit);

/** How two builds differ. */
struct Comparison {
    /** "change" (new, gone, up, down), "fingerprint", "kind", "a" and "b" (catches of each build),
     * "expected" (of b if nothing had changed), "p", "signature"; the surest first. p is the chance
     * that any fingerprint at all would show such a difference if none had changed. */
    Table fingerprints;
    /** Catches of build B for each one of A that are expected if nothing had changed. */
    double scale = 0;
    int64_t catchesA = 0;
    int64_t catchesB = 0;
};

/** Compares the catches of two builds by fingerprint; the build of @p filter is not used. */
Comparison compare(Store& store, Filter filter, const std::string& buildA,
                   const std::string& buildB);

}  // namespace kaveldesk
