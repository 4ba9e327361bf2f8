#pragma once

#include <string>
#include <string_view>

namespace android {

/**
 * Writes one printf-style line to the Android log, with each occurrence of the device's OTA version
 * replaced by "*". Truncated to 1023 characters before the replacement. Any thread.
 *
 * @param logBufferId  liblog's buffer number; the daemon uses only LOG_ID_MAIN
 * @param priority     ANDROID_LOG_*
 */
void kavel_print(int logBufferId, int priority, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

namespace kavel {

/** Returns @p text with each occurrence of @p secret, from left to right, replaced by one "*". */
std::string maskOccurrences(std::string_view text, std::string_view secret);

}  // namespace kavel
}  // namespace android
