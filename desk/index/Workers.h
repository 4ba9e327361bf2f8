#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace kaveldesk {

/**
 * Threads that turn jobs into results. Jobs are taken in their order, results come in any. The
 * functions are for one thread. The caller bounds how many jobs are in work.
 */
template <typename Job, typename Result>
class Workers {
  public:
    /** @param work  called by several threads at once; it must not throw */
    Workers(unsigned threads, std::function<Result(Job)> work) : mWork(std::move(work)) {
        for (unsigned i = 0; i < threads; ++i) mThreads.emplace_back([this] { run(); });
    }
    /** Drops jobs that are not begun, and waits for the others. */
    ~Workers() {
        dropJobs();
        {
            android::kavel::MutexLock lock(mMutex);
            mIsEnding = true;
        }
        mHasJob.notify_all();
        for (std::thread& thread : mThreads) thread.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /** @param isNext  before the jobs that are waiting */
    void add(Job job, bool isNext) EXCLUDES(mMutex) {
        {
            android::kavel::MutexLock lock(mMutex);
            if (isNext) {
                mJobs.push_front(std::move(job));
            } else {
                mJobs.push_back(std::move(job));
            }
            ++mInWork;
        }
        mHasJob.notify_one();
    }

    /** Jobs whose results have not been taken. */
    size_t inWork() EXCLUDES(mMutex) {
        android::kavel::MutexLock lock(mMutex);
        return mInWork;
    }

    /** Waits for a result, up to @p most. */
    std::optional<Result> take(std::chrono::milliseconds most) EXCLUDES(mMutex) {
        const auto end = std::chrono::steady_clock::now() + most;
        android::kavel::MutexLock lock(mMutex);
        while (mResults.empty()) {
            if (!lock.waitUntil(mHasResult, end)) return std::nullopt;
        }
        std::optional<Result> result(std::move(mResults.front()));
        mResults.pop_front();
        --mInWork;
        return result;
    }

    void dropJobs() EXCLUDES(mMutex) {
        android::kavel::MutexLock lock(mMutex);
        mInWork -= mJobs.size();
        mJobs.clear();
    }

  private:
    void run() EXCLUDES(mMutex) {
        for (;;) {
            std::optional<Job> job;
            {
                android::kavel::MutexLock lock(mMutex);
                while (mJobs.empty() && !mIsEnding) lock.wait(mHasJob);
                if (mJobs.empty()) return;
                job.emplace(std::move(mJobs.front()));
                mJobs.pop_front();
            }
            Result result = mWork(std::move(*job));
            {
                android::kavel::MutexLock lock(mMutex);
                mResults.push_back(std::move(result));
            }
            mHasResult.notify_one();
        }
    }

    const std::function<Result(Job)> mWork;
    android::kavel::Mutex mMutex;
    std::condition_variable mHasJob;
    std::condition_variable mHasResult;
    std::deque<Job> mJobs GUARDED_BY(mMutex);
    std::deque<Result> mResults GUARDED_BY(mMutex);
    size_t mInWork GUARDED_BY(mMutex) = 0;
    bool mIsEnding GUARDED_BY(mMutex) = false;
    std::vector<std::thread> mThreads;
};

}  // namespace kaveldesk
