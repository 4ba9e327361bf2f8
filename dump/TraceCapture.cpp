// Captures that are not plain commands: traces asked of the framework, of a process by signal, and
// of the platform's trace utility. Their sources are not wired in yet: each step says so in the
// log, and the pack goes on without their files.

#include "dump/KavelDumpUtilThread.h"
#include "platform/Log.h"

namespace android {
namespace {

void logNotWired(const char* step) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel %s]: no trace source, nothing captured.\n", step);
}

}  // namespace

void KavelDumpUtilThread::callFrameworkDumpANRTrace(int /*kavelEventId*/) {
    logNotWired("callFrameworkDumpANRTrace");
}

void KavelDumpUtilThread::callFrameworkDumpSystrace() {
    logNotWired("callFrameworkDumpSystrace");
}

int KavelDumpUtilThread::dumpSystemServerTraces(int /*kavelEventId*/, std::string /*path*/) {
    logNotWired("dumpSystemServerTraces");
    return 0;
}

void KavelDumpUtilThread::callNativeDumpSystrace(int /*kavelEventId*/) {
    logNotWired("callNativeDumpSystrace");
}

void KavelDumpUtilThread::packSystraceLog(std::string /*path*/, unsigned long long /*time*/) {
    logNotWired("packSystraceLog");
}

void KavelDumpUtilThread::packSystemServerTraceLog(std::string /*path*/,
                                                   unsigned long long /*time*/) {
    logNotWired("packSystemServerTraceLog");
}

void KavelDumpUtilThread::packPreAnrTrace(std::string /*path*/, unsigned long long /*time*/) {
    logNotWired("packPreAnrTrace");
}

}  // namespace android
