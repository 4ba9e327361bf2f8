#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <utils/Mutex.h>  // the annotation macros; empty where the compiler is not clang

namespace android::kavel {

/** std::mutex with annotations for clang's thread-safety analysis. */
class CAPABILITY("mutex") Mutex {
  public:
    void lock() ACQUIRE() { mMutex.lock(); }
    /** Takes the mutex only if it is free. Returns whether it has. */
    bool tryLock() TRY_ACQUIRE(true) { return mMutex.try_lock(); }
    void unlock() RELEASE() { mMutex.unlock(); }

  private:
    friend class MutexLock;
    std::mutex mMutex;
};

/**
 * Holds a Mutex for a scope. The wait functions release it while they wait for @p condition.
 *
 * Tries several times to take the mutex before the thread sleeps: most are held for less time than
 * sleep and wake-up take. Not all C libraries do this themselves.
 */
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mLock(mutex.mMutex, std::defer_lock) {
        for (int tries = 0; tries < kTries; ++tries) {
            if (mLock.try_lock()) return;
        }
        mLock.lock();
    }
    ~MutexLock() RELEASE() {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void wait(std::condition_variable& condition) { condition.wait(mLock); }
    /** Releases the mutex for a moment, so that another thread can take it. */
    void yield() {
        mLock.unlock();
        std::this_thread::yield();
        mLock.lock();
    }
    /** Like wait(). Returns false after @p end. */
    bool waitUntil(std::condition_variable& condition, std::chrono::steady_clock::time_point end) {
        return condition.wait_until(mLock, end) == std::cv_status::no_timeout;
    }

  private:
    static constexpr int kTries = 100;  // chosen with the pool's benchmark; more would gain little

    std::unique_lock<std::mutex> mLock;
};

}  // namespace android::kavel
