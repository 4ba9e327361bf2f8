#include "tests/handler/FakeDumpThreads.h"

#include <atomic>
#include <system_error>
#include <utility>

#include "dump/DumpThread.h"
#include "dump/KavelDumpUtilThread.h"
#include "platform/Mutex.h"

namespace android {
namespace kavel {
namespace {

Mutex lock;
std::vector<std::string> started GUARDED_BY(lock);
std::atomic<bool> refused{false};

void note(const char* kind, const CatchRef& running) {
    const LogFolderRef folder = running->folder();
    MutexLock hold(lock);
    started.push_back(std::string(kind) + ' ' + std::to_string(running->event->logInfo) + ' ' +
                      std::to_string(running->event->kavelEventId) + ' ' +
                      (folder == nullptr ? "" : folder->path()));
}

}  // namespace

std::vector<std::string> fake::takeDumpThreads() {
    MutexLock hold(lock);
    return std::exchange(started, {});
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
                                              kavel::LogFolder::Work /*work*/) {
    kavel::note("immediate", running);
}

void KavelDumpUtilThread::trailContinuousDumpThread(const kavel::CatchRef& running) {
    kavel::note("continuous", running);
}

void KavelDumpUtilThread::commercialContinuousDumpThread(
        const kavel::CatchRef& running,
        const std::function<std::vector<kavel::EventRef>()>& /*ring*/) {
    kavel::note("commercial", running);
}

}  // namespace android
