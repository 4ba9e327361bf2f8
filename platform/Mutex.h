#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <utils/Mutex.h>  // the annotation macros; empty where the compiler is not clang

namespace android::kavel {

/** std::mutex that clang's thread-safety analysis understands. */
class CAPABILITY("mutex") Mutex {
  public:
    void lock() ACQUIRE() { mMutex.lock(); }
    void unlock() RELEASE() { mMutex.unlock(); }

  private:
    friend class MutexLock;
    std::mutex mMutex;
};

/** Holds a Mutex for a scope; waiting releases it while the thread sleeps on @p condition. */
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mLock(mutex.mMutex) {}
    ~MutexLock() RELEASE() {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void wait(std::condition_variable& condition) { condition.wait(mLock); }
    /** Lets another thread have the mutex, and the processor, for a moment. */
    void yield() {
        mLock.unlock();
        std::this_thread::yield();
        mLock.lock();
    }
    /** As wait(); false once @p end has passed. */
    bool waitUntil(std::condition_variable& condition, std::chrono::steady_clock::time_point end) {
        return condition.wait_until(mLock, end) == std::cv_status::no_timeout;
    }

  private:
    std::unique_lock<std::mutex> mLock;
};

}  // namespace android::kavel
