#pragma once

#include <android/log.h>

namespace android::kavel::host {

/**
 * Writes a line with tag "init" to the main log. Warnings and errors also go to init's own stderr,
 * for whoever started the phone.
 */
void initLog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace android::kavel::host
