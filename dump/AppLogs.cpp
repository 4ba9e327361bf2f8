#include "dump/AppLogs.h"

#include <cinttypes>
#include <filesystem>

#include <log/log.h>

#include <android-base/stringprintf.h>

#include "dump/LogFolderName.h"
#include "dump/Pack.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"

namespace fs = std::filesystem;

namespace android {

using base::StringPrintf;

namespace {

constexpr int64_t kXlogSizeLimit = 0x5000000;  // bytes: 80 MiB
constexpr const char* kPrefix = "[dravo_kavel packXlogForWeChat]: ";

}  // namespace

void packXlogForWeChat(const std::string& path) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packXlogForWeChat]: start");
    const std::string root = kavel::kLogFolderRoot;
    const std::string staging = std::string(kavel::kXlogStaging) + "/";
    const std::string xlogs = staging + "xlog";
    const std::string pattern = xlogs + "/*";
    const int64_t size = totalXlogSize(xlogs);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s, %s, %s, %s, %" PRId64 ";", kPrefix,
                staging.c_str(), root.c_str(), xlogs.c_str(), pattern.c_str(), size);

    if (size == 0 || size > kXlogSizeLimit) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel packXlogForWeChat]:not copy xlog");
    } else {
        kavel::collectInto(
                path, kPrefix,
                StringPrintf("cp %s %s/", pattern.c_str(), kavel::shellQuote(path).c_str()), ";");
        kavel::sleepSeconds(1);
    }
    kavel::logAndRun(kPrefix, "rm -r " + staging, ";");
}

int64_t totalXlogSize(const std::string& path) {
    if (path.empty()) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel totalXlogSize]: path is empty");
        return 0;
    }
    if (!checkPathIsDir(path)) return 0;
    int64_t total = 0;
    std::error_code error;
    // The staging service may still be running: a file that disappears counts as 0 bytes.
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        if (!entry->is_regular_file(gone)) continue;
        const uintmax_t size = entry->file_size(gone);
        if (gone) continue;
        if (__builtin_add_overflow(total, size, &total)) {
            LOG_ALWAYS_FATAL("[dravo_kavel totalXlogSize]: size of %s overflows", path.c_str());
        }
    }
    return total;
}

bool checkPathIsDir(const std::string& path) {
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    if (type == fs::file_type::none || type == fs::file_type::not_found) {
        // Tools that read the log depend on the words "not exist".
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel checkPathIsDir]: %s not exist", path.c_str());
        return false;
    }
    if (type == fs::file_type::directory) return true;
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel checkPathIsDir]: %s is not a directory", path.c_str());
    return false;
}

}  // namespace android
