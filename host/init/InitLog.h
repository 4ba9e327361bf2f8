#pragma once

#include <android/log.h>

namespace android::kavel::host {

/**
 * Writes a line with the tag "init" to the main log. Warnings and errors also go to stderr, for the
 * user who started the phone.
 */
void initLog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace android::kavel::host
