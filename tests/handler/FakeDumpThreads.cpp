#include "tests/handler/FakeDumpThreads.h"

#include <atomic>
#include <system_error>

#include <gtest/gtest.h>

#include "dump/DumpThread.h"
#include "dump/KavelDumpUtilThread.h"
#include "platform/Mutex.h"
#include "tests/fake/FakeLog.h"

namespace android {
namespace kavel {
namespace {

Mutex lock;
std::map<int, CatchRef> held GUARDED_BY(lock);
std::atomic<bool> refused{false};

/** Logs "KIND of PID, BITS in FOLDER", and holds the catch. */
void begin(const char* kind, const CatchRef& running) {
    const LogFolderRef folder = running->folder();
    const int pid = running->event->pid;
    fake::note(std::string(kind) + " of " + std::to_string(pid) + ", " +
               std::to_string(running->event->logInfo) + " in " +
               (folder == nullptr ? "none" : folder->path()));
    MutexLock hold(lock);
    held[pid] = running;
}

}  // namespace

std::map<int, CatchRef> fake::heldCatches() {
    MutexLock hold(lock);
    return held;
}

void fake::releaseCatches() {
    std::map<int, CatchRef> released;  // freed after the lock is released
    {
        MutexLock hold(lock);
        released = std::exchange(held, {});
    }
}

void fake::refuseThreads(bool refuse) {
    refused = refuse;
}

void startDumpThread(CatchRef /*running*/, std::function<void()> body) {
    if (refused) throw std::system_error(std::make_error_code(std::errc::not_enough_memory));
    body();
}

}  // namespace kavel

void KavelDumpUtilThread::immediateDumpThread(const kavel::CatchRef& running,
                                              kavel::LogFolder::Work work) {
    // Otherwise a pack that begins before the thread does not wait for it.
    EXPECT_EQ(work == nullptr, running->commercial.isCommercial());
    kavel::begin("first round", running);
}

void KavelDumpUtilThread::trailContinuousDumpThread(const kavel::CatchRef& running) {
    kavel::begin("pack", running);
}

void KavelDumpUtilThread::commercialContinuousDumpThread(
        const kavel::CatchRef& running, const std::function<std::vector<kavel::EventRef>()>& ring) {
    std::string pids;
    for (const kavel::EventRef& record : ring()) pids += " " + std::to_string(record->pid);
    kavel::begin(("commercial pack with" + pids).c_str(), running);
}

}  // namespace android
