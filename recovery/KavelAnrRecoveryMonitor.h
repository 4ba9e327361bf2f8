#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <set>
#include <string>
#include <utility>

#include <utils/RefBase.h>
#include <utils/Singleton.h>
#include <utils/Thread.h>

#include "platform/Mutex.h"

namespace android {

/** What a watch remembers of its process; all zero where it could not be read. */
struct proc_t {
    int32_t pid;
    int64_t uid;
};

/**
 * Watches processes that do not respond. A watch waits its time out and looks whether the same
 * process is still there; if so the recovery has failed, and while the test package's is under way
 * the framework is restarted, or the kernel crashed where that does not help. A cancel ends a watch
 * quietly.
 *
 * Requests are queued and served by threads that live for one run. While a failed watch is taken
 * further the lock stays held, and every other request waits: there is one escalation at a time.
 * Made on first use, never destroyed, so that its threads may outlive whoever asked. Any thread.
 */
class KavelAnrRecoveryMonitor : public Singleton<KavelAnrRecoveryMonitor> {
  public:
    struct Message {
        int32_t pid;
        int32_t state;                  ///< 1: watch, 0: cancel
        std::string monitorThreadName;  ///< which kind of watch; empty for a cancel

        void setMonitorThreadName(const char* name) { monitorThreadName = name; }
    };

    /** Serves the requests that are queued, then ends. */
    class HandleThread : public Thread {
      public:
        HandleThread(KavelAnrRecoveryMonitor* monitor, const char* name)
              : Thread(/*canCallJava=*/false), mMonitor(monitor), mName(name) {}

      private:
        bool threadLoop() override;

        KavelAnrRecoveryMonitor* const mMonitor;
        const std::string mName;
    };

    /** One watch of one process. */
    class MonitorThread : public Thread {
      public:
        MonitorThread(KavelAnrRecoveryMonitor* monitor, const char* name, int pid)
              : Thread(/*canCallJava=*/false), mMonitor(monitor), mName(name), mPid(pid) {}

        const std::string& name() const { return mName; }
        int pid() const { return mPid; }

      private:
        bool threadLoop() override;

        KavelAnrRecoveryMonitor* const mMonitor;
        const std::string mName;
        const int mPid;
    };

    /**
     * Queues a watch of @p pid: of 5 s where the user asked to close the application, else of
     * 30 s. 0, or -1 where the pid is none or too many processes are watched.
     */
    int monitor(int pid, bool userRequest) EXCLUDES(mLock);
    int close_user_request(int pid) { return monitor(pid, true); }
    /** Queues the cancel of the first watch of @p pid that is listed when the cancel is served. */
    int cancel_monitor(int pid) EXCLUDES(mLock);

    /** The body of the MonitorThread @p thread. False where the process could not be read. */
    bool handle_anr_recovery(void* thread, long timeoutSeconds) EXCLUDES(mLock);
    /** Fills @p out; null, and all zero, where the process or its user cannot be read. */
    static proc_t* read_proc_stat(int pid, proc_t* out);
    /** Whether the same process is there after the wait, so that its recovery has failed. */
    static bool isReboot(const proc_t* before, const proc_t* after);

    /** Entries in the lists, at this moment. */
    struct ListSizes {
        size_t requested;
        size_t monitored;
        size_t cancelled;
    };
    ListSizes listSizes() const EXCLUDES(mLock);

  private:
    friend class Singleton<KavelAnrRecoveryMonitor>;
    using Messages = std::list<Message>;

    KavelAnrRecoveryMonitor() = default;

    void serveRequests() EXCLUDES(mLock);
    void cancelLocked(const Message& request) REQUIRES(mLock);
    void moveToCancelsLocked(Messages::iterator first, Messages::iterator last) REQUIRES(mLock);
    /** Drops the cancels that no running watch will take: they would end a later one. */
    void dropSurplusCancelsLocked() REQUIRES(mLock);
    void endWatch(const MonitorThread& thread) EXCLUDES(mLock);
    void startWatchLocked(const Message& request) REQUIRES(mLock);
    void runMonitorThreadLocked(const Message& request, sp<MonitorThread>* reference,
                                const char* kind) REQUIRES(mLock);
    Messages::iterator findWatchLocked(Messages& list, const MonitorThread& thread) REQUIRES(mLock);
    bool takeCancelLocked(const MonitorThread& thread) REQUIRES(mLock);
    void escalateLocked() REQUIRES(mLock);
    void retireLocked(const MonitorThread& thread) REQUIRES(mLock);
    void countWatchesLocked() REQUIRES(mLock) { mWatchCount = mMonitorList.size(); }

    mutable kavel::Mutex mLock;
    Messages mRequestList GUARDED_BY(mLock);
    Messages mMonitorList GUARDED_BY(mLock);
    Messages mCancelList GUARDED_BY(mLock);
    // A thread keeps itself alive while it runs; these keep the last of each kind a little longer,
    // and whoever lets go last, the thread itself included, may destroy it.
    sp<HandleThread> mHandleThread GUARDED_BY(mLock);
    sp<MonitorThread> mUserRequestMonitorThread GUARDED_BY(mLock);
    sp<MonitorThread> mMonitorThread GUARDED_BY(mLock);
    std::atomic<size_t> mWatchCount{0};  // of the monitor list, for the look before the lock
    /** Pid and name of each watch whose thread runs, listed or cancelled. */
    std::multiset<std::pair<int32_t, std::string>> mRunningWatches GUARDED_BY(mLock);
};

namespace kavel {

// The kinds of watches, by the names of their threads.
inline constexpr const char* kAnrWatch = "KavelAnrRecoveryMonitor";
inline constexpr const char* kUserRequestWatch = "KavelAnrRecoveryMonitorUserRequest";

}  // namespace kavel
}  // namespace android
