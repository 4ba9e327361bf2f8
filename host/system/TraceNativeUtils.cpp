// Stand-in for the maker's trace utility: each flush writes a file to the folder of the real one.

#include "platform/TraceNativeUtils.h"

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android/log.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace android {
namespace {

class FileUtils : public TraceNativeUtils {
    void flush(const std::string& session, bool stop, bool restart) override {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const std::string path = base::StringPrintf(
                "/data/local/traces/dravo-trace_%s_%lld.%09ld.perfetto-trace", session.c_str(),
                static_cast<long long>(now.tv_sec), now.tv_nsec);
        const std::string content = base::StringPrintf("# session %s, stop %d, restart %d\n",
                                                       session.c_str(), stop, restart);
        if (!base::WriteStringToFile(content, path)) {
            __android_log_print(ANDROID_LOG_ERROR, "TraceNativeUtils", "%s: %s", path.c_str(),
                                strerror(errno));
        }
    }
};

}  // namespace

TraceNativeUtils* TraceNativeUtils::getInstance() {
    static FileUtils utils;
    return &utils;
}

}  // namespace android
