#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "desk/store/Store.h"

namespace kaveldesk {

/** What a run has done, and so far. Each file that was found is in one of the counts. */
struct IndexCounts {
    uint64_t indexed = 0;     // new catches, broken ones included
    uint64_t broken = 0;      // of these
    uint64_t unchanged = 0;   // known by path, size and time of change
    uint64_t duplicates = 0;  // known by their hash
    uint64_t failed = 0;      // not readable, or changed while they were read
    uint64_t bytes = 0;       // of all of them

    uint64_t files() const { return indexed + unchanged + duplicates + failed; }
};

/** What a run will do. */
struct IndexTotals {
    uint64_t files = 0;
    uint64_t bytes = 0;
};

struct IndexOptions {
    unsigned threads = 1;
    size_t batch = 64;  // catches that are stored at once
    /** Ends the run soon when it becomes true, with all that is done stored. */
    const std::atomic<bool>* stop = nullptr;
    /** Called now and then, in the caller's thread. */
    std::function<void(const IndexCounts&, const IndexTotals&)> progress;
    /** A file or folder that cannot be read, with the reason. In the caller's thread. */
    std::function<void(const std::filesystem::path&, const std::string& reason)> failed =
            [](const auto&, const auto&) {};
};

/**
 * Indexes archives into @p store: each once, by its hash. What an earlier run has stored is not
 * read again, so that a run that was stopped or killed continues where it stopped. Memory does not
 * grow with the number of archives. Throws std::runtime_error for a path that is not there and for
 * errors of the store.
 */
IndexCounts indexArchives(Store& store, const std::vector<std::string>& paths,
                          const IndexOptions& options);

}  // namespace kaveldesk
