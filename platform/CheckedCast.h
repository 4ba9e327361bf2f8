#pragma once

#include <cstdint>
#include <limits>

namespace android::kavel {

/** Logs one line naming @p what and @p value, then ends the process. */
[[noreturn]] void abortOnLossyConversion(const char* what, int64_t value);

/**
 * @p value as an int32. One that does not fit ends the process: a silently cut word would select
 * other logs, or other processes, than the reporter asked for.
 */
inline int32_t checkedInt32(const char* what, int64_t value) {
    if (value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max()) {
        abortOnLossyConversion(what, value);
    }
    return static_cast<int32_t>(value);
}

}  // namespace android::kavel
