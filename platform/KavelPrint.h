#pragma once

#include <string>
#include <string_view>

namespace android {

/**
 * Writes one printf-style line to the Android log, with every occurrence of the device's OTA
 * version hidden behind "*". Cut at 1023 characters before masking. Any thread.
 *
 * @param logBufferId  liblog's buffer number; LOG_ID_MAIN for everything this daemon writes
 * @param priority     ANDROID_LOG_*
 */
void kavel_print(int logBufferId, int priority, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

namespace kavel {

/** @p text with each occurrence of @p secret, found left to right, replaced by one "*". */
std::string maskOccurrences(std::string_view text, std::string_view secret);

}  // namespace kavel
}  // namespace android
