#pragma once

namespace android::kavel::host {

/**
 * Lines under the tag "init" in the main log. Warnings and errors also go to init's own stderr:
 * what goes wrong at boot should be seen by whoever started the phone.
 */
void logInfo(const char* format, ...) __attribute__((format(printf, 1, 2)));
void logWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));
void logError(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace android::kavel::host
