#include "tests/handler/FakeDumpThreads.h"

#include <atomic>
#include <system_error>
#include <utility>

#include <gtest/gtest.h>

#include "dump/DumpThread.h"
#include "dump/KavelDumpUtilThread.h"
#include "platform/Mutex.h"

namespace android {
namespace kavel {
namespace {

Mutex lock;
std::vector<std::string> started GUARDED_BY(lock);
std::map<int, CatchRef> held GUARDED_BY(lock);
std::atomic<bool> refused{false};

void note(const char* kind, const CatchRef& running) {
    const LogFolderRef folder = running->folder();
    const int pid = running->event->pid;
    MutexLock hold(lock);
    started.push_back(std::string(kind) + ' ' + std::to_string(running->event->logInfo) + " of " +
                      std::to_string(pid) + (folder == nullptr ? "" : ' ' + folder->path()));
    held[pid] = running;
}

}  // namespace

std::vector<std::string> fake::takeDumpThreads() {
    MutexLock hold(lock);
    return std::exchange(started, {});
}

std::map<int, CatchRef> fake::heldCatches() {
    MutexLock hold(lock);
    return held;
}

void fake::releaseCatches() {
    std::map<int, CatchRef> released;
    MutexLock hold(lock);
    released.swap(held);
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
    kavel::note("immediate", running);
}

void KavelDumpUtilThread::trailContinuousDumpThread(const kavel::CatchRef& running) {
    kavel::note("continuous", running);
}

void KavelDumpUtilThread::commercialContinuousDumpThread(
        const kavel::CatchRef& running, const std::function<std::vector<kavel::EventRef>()>& ring) {
    // The pack takes the main record's data from the first one.
    EXPECT_EQ(ring().front(), running->event);
    kavel::note("commercial", running);
}

}  // namespace android
