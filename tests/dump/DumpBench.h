#pragma once

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "dump/DumpContext.h"
#include "platform/Mutex.h"

namespace android::kavel::test {

/**
 * A fresh dump context with fake shell and time, and a transcript of what
 * the calling thread and the pools do. One at a time.
 *
 * All cmd workers but one are kept busy, so that the pool runs its tasks one by one in the order of
 * submission; before each sleep of the calling thread the pools are let run dry. So a catch that is
 * driven on the calling thread has one possible transcript only.
 */
class DumpBench {
  public:
    static constexpr int32_t kRecordId = 77;
    static constexpr int64_t kStartUs = 1'709'802'302'007'000;  // 2024-03-07 09:05:02.007 UTC

    /** @param run  carries a command out and returns its wait status; by default nothing runs */
    explicit DumpBench(std::function<int(const std::string&)> run = nullptr);
    ~DumpBench();
    DumpBench(const DumpBench&) = delete;
    DumpBench& operator=(const DumpBench&) = delete;

    DumpContext& context() { return *mContext; }
    /** A catch of an event that arrived now, of process 4711, in @p folder if that is given. */
    CatchRef add(int64_t eventId, uint32_t logInfo, const KavelExtraInfo& extra = {},
                 int32_t recordId = kRecordId, const std::string& folder = "");
    /** Waits until every task that was committed has ended. */
    void settle();
    /**
     * Settles; then what has happened since the last call, a line each: "I ", "W " or "E " and a
     * log line of the calling thread, "property NAME=VALUE", "$ " and a command of it, "sleep N",
     * "logcat-pool$ " and "cmd-pool$ " and a command of that pool.
     */
    std::string takeTranscript();

  private:
    int onCommand(const std::string& command);
    void onSleep(uint64_t seconds);
    void copyLogLocked() REQUIRES(mLock);

    const std::function<int(const std::string&)> mRun;
    const std::thread::id mCaller = std::this_thread::get_id();
    std::thread::id mLogcatWorker;
    EventParameters mParameters;
    std::unique_ptr<DumpContext> mContext;
    std::promise<void> mRelease;

    Mutex mLock;
    std::string mLogcatCommands GUARDED_BY(mLock);
    std::string mCmdCommands GUARDED_BY(mLock);
    std::string mTranscript GUARDED_BY(mLock);
};

}  // namespace android::kavel::test
