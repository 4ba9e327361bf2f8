#pragma once

#include <cstdint>
#include <limits>

namespace android::kavel {

/** Logs a line with @p what and @p value, then ends the process. */
[[noreturn]] void abortOnLossyConversion(const char* what, int64_t value);

/**
 * Returns @p value as an int32. If it does not fit, ends the process: a truncated value would
 * select other logs, or another process, than the reporter asked for.
 */
inline int32_t checkedInt32(const char* what, int64_t value) {
    if (value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max()) {
        abortOnLossyConversion(what, value);
    }
    return static_cast<int32_t>(value);
}

}  // namespace android::kavel
