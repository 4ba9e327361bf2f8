// How every catch ends: one archive in the collection directory, no folder.

#include <log/log.h>

#include <android-base/stringprintf.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogFolderName.h"
#include "platform/KavelPrint.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

constexpr int kIntegrityChecks = 15;

}  // namespace

int logAndRun(const char* prefix, const std::string& command, const char* suffix) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s%s", prefix, command.c_str(), suffix);
    return runShell(command);
}

bool isCollected(const KavelEvent& record) {
    // Bits that no command reports make this false for good, and the pack waits its full time.
    // Readers of the archives count on those seconds: some of that evidence is still being written.
    return record.collected == static_cast<uint32_t>(record.logInfo);
}

void awaitCollected(const KavelEvent& record) {
    for (int check = 0; check < kIntegrityChecks && !isCollected(record); ++check) sleepSeconds(1);
}

void packFolder(const char* prefix, const std::string& path) {
    const std::string folder = shellQuote(path);
    const char* const f = folder.c_str();
    const std::string pack =
            StringPrintf("tar czf %s.tar.gz %s/* && chown system:system %s.tar.gz", f, f, f);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s", prefix, pack.c_str());
    runShell(pack, kPackDeadline);
    logAndRun(prefix, StringPrintf("mv %s.tar.gz %s", f, kArchiveDirectory));
    logAndRun(prefix, "rm -rf " + folder);
}

}  // namespace android::kavel
