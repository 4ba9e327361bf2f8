#include "desk/index/IndexArchives.h"

#include <chrono>
#include <optional>
#include <set>
#include <utility>

#include "desk/index/FindArchives.h"
#include "desk/index/ReadJob.h"
#include "desk/index/Workers.h"

namespace kaveldesk {
namespace {

using Clock = std::chrono::steady_clock;

class Run {
  public:
    Run(Store& store, const IndexOptions& options)
          : mStore(store), mOptions(options), mWorkers(options.threads, doJob) {}

    IndexCounts index(const std::vector<std::string>& paths) {
        countTotals(paths);
        findArchives(paths, {[&](const FoundFile& file) { return take(file); },
                             [&](const auto& path, const auto& reason) {
                                 mOptions.failed(path, reason);
                                 ++mCounts.failed;
                             }});
        sortOutFound();
        if (isStopped()) mWorkers.dropJobs();
        while (mWorkers.inWork() > 0) {
            handleOne();
            if (isStopped()) mWorkers.dropJobs();
        }
        storeBatch();
        return mCounts;
    }

  private:
    bool isStopped() const { return mOptions.stop != nullptr && *mOptions.stop; }

    void countTotals(const std::vector<std::string>& paths) {
        if (!mOptions.progress) return;
        findArchives(paths, {[&](const FoundFile& file) {
                                 ++mTotals.files;
                                 mTotals.bytes += static_cast<uint64_t>(file.size);
                                 return !isStopped();
                             },
                             [](const auto&, const auto&) {}});
    }

    bool take(const FoundFile& file) {
        constexpr size_t kAtOnce = 64;  // that are looked up at once
        mFound.push_back(file);
        if (mFound.size() >= kAtOnce) sortOutFound();
        return !isStopped();
    }

    /** Leaves out the files that are known, and starts work on the others. */
    void sortOutFound() {
        std::vector<SourceRow> sources;
        for (const FoundFile& file : mFound) {
            sources.push_back({file.path.string(), file.size, file.modifiedNs, {}});
        }
        const std::vector<bool> isUnchanged = mStore.areUnchanged(sources);
        for (size_t i = 0; i < mFound.size() && !isStopped(); ++i) {
            if (isUnchanged[i]) {
                count(mCounts.unchanged, mFound[i]);
                continue;
            }
            while (mWorkers.inWork() >= size_t{4} * mOptions.threads) handleOne();
            mWorkers.add({mFound[i], {}}, false);
        }
        mFound.clear();
    }

    void handleOne() {
        constexpr std::chrono::milliseconds kWait(200);
        std::optional<ReadResult> result = mWorkers.take(kWait);
        if (result) handle(std::move(*result));
        const auto now = Clock::now();
        if (mBatch.catches.size() >= mOptions.batch || now - mStored > std::chrono::seconds(1)) {
            storeBatch();
        }
        if (mOptions.progress && now - mShown > kWait) {
            mOptions.progress(mCounts, mTotals);
            mShown = now;
        }
    }

    void handle(ReadResult result) {
        const FoundFile& file = result.file;
        if (!result.failure.empty()) {
            mOptions.failed(file.path, result.failure);
            mNew.erase(result.hash);
            count(mCounts.failed, file);
        } else if (result.row) {
            count(mCounts.indexed, file);
            if (result.row->isBroken) ++mCounts.broken;
            addSource(result);
            mBatch.catches.push_back(std::move(*result.row));
        } else if (mStore.areKnown({result.hash}).front()) {
            count(mCounts.duplicates, file);
            addSource(result);
        } else if (!mNew.insert(result.hash).second) {
            // Its twin is not stored yet and could fail: the next run says that this one is known.
            count(mCounts.duplicates, file);
        } else if (!isStopped()) {
            mWorkers.add({std::move(result.file), std::move(result.hash)}, true);
        }
    }

    void count(uint64_t& counter, const FoundFile& file) {
        ++counter;
        mCounts.bytes += static_cast<uint64_t>(file.size);
    }

    void addSource(const ReadResult& result) {
        mBatch.sources.push_back(
                {result.file.path.string(), result.file.size, result.file.modifiedNs, result.hash});
    }

    void storeBatch() {
        mStored = Clock::now();
        if (mBatch.sources.empty()) return;
        mStore.insert(mBatch);
        for (const CatchRow& row : mBatch.catches) mNew.erase(row.hash);
        mBatch = {};
    }

    Store& mStore;
    const IndexOptions& mOptions;
    IndexCounts mCounts;
    IndexTotals mTotals;
    std::vector<FoundFile> mFound;
    Batch mBatch;
    std::set<std::string> mNew;  // hashes that are read or wait to be stored
    Clock::time_point mStored = Clock::now();
    Clock::time_point mShown = Clock::now();
    Workers<ReadJob, ReadResult> mWorkers;
};

}  // namespace

IndexCounts indexArchives(Store& store, const std::vector<std::string>& paths,
                          const IndexOptions& options) {
    return Run(store, options).index(paths);
}

}  // namespace kaveldesk
