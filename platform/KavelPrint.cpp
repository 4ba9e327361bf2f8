#include "platform/KavelPrint.h"

#include <cstdarg>
#include <cstdio>

#include <android-base/properties.h>
#include <log/log.h>

namespace android {
namespace kavel {

std::string maskOccurrences(std::string_view text, std::string_view secret) {
    if (secret.empty()) return std::string(text);
    std::string masked;
    size_t start = 0;
    for (size_t hit; (hit = text.find(secret, start)) != std::string_view::npos;
         start = hit + secret.size()) {
        masked.append(text, start, hit - start).push_back('*');
    }
    return masked.append(text, start, std::string_view::npos);
}

}  // namespace kavel

void kavel_print(int logBufferId, int priority, const char* format, ...) {
    char line[1024] = {};
    // Read again for each line: the property may be set after the daemon has started. The fallback
    // is masked like any other value.
    const std::string ota = base::GetProperty("ro.build.version.ota", "default");

    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof(line), format, args);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(args);

    __android_log_buf_write(logBufferId, priority, nullptr,
                            kavel::maskOccurrences(line, ota).c_str());
}

}  // namespace android
