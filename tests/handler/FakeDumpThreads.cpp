#include "tests/handler/FakeDumpThreads.h"

#include <atomic>
#include <system_error>
#include <utility>

#include "dump/DumpThreads.h"
#include "dump/KavelDumpUtilThread.h"
#include "platform/Mutex.h"

namespace android {
namespace kavel {
namespace {

Mutex lock;
std::vector<std::string> started GUARDED_BY(lock);
std::atomic<bool> refused{false};

void note(const char* kind, int logInfo, int kavelEventId, const std::string& path) {
    MutexLock hold(lock);
    started.push_back(std::string(kind) + ' ' + std::to_string(logInfo) + ' ' +
                      std::to_string(kavelEventId) + ' ' + path);
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

void KavelDumpUtilThread::immediateDumpThread(int logInfo, int kavelEventId, std::string path) {
    kavel::note("immediate", logInfo, kavelEventId, path);
}

void KavelDumpUtilThread::trailContinuousDumpThread(int logInfo, int kavelEventId,
                                                    std::string path) {
    kavel::note("continuous", logInfo, kavelEventId, path);
}

void KavelDumpUtilThread::commercialContinuousDumpThread(int kavelEventId, std::string path) {
    kavel::note("commercial", 0, kavelEventId, path);
}

}  // namespace android
