#include "host/init/InitLog.h"

#include <android-base/stringprintf.h>
#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace android::kavel::host {
namespace {

__attribute__((format(printf, 2, 0))) void write(int priority, const char* format, va_list args) {
    std::string text;
    base::StringAppendV(&text, format, args);
    __android_log_write(priority, "init", text.c_str());
    if (priority >= ANDROID_LOG_WARN)
        static_cast<void>(fprintf(stderr, "init: %s\n", text.c_str()));
}

}  // namespace

void logInfo(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write(ANDROID_LOG_INFO, format, args);
    va_end(args);
}

void logWarning(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write(ANDROID_LOG_WARN, format, args);
    va_end(args);
}

void logError(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write(ANDROID_LOG_ERROR, format, args);
    va_end(args);
}

}  // namespace android::kavel::host
