#pragma once

#include <chrono>
#include <string_view>

#include <utils/Errors.h>

namespace android::kavel {

/**
 * Writes @p text to the pipe, socket or file @p fd of a caller. Gives up after @p patience: a
 * caller that does not read must not hold the thread. A caller that has closed its end causes no
 * signal. Does not change the flags of the descriptor, which the caller shares.
 *
 * @return NO_ERROR, TIMED_OUT, BAD_TYPE for any other kind of descriptor, or a negative errno
 */
status_t writeWithin(int fd, std::string_view text, std::chrono::milliseconds patience);

}  // namespace android::kavel
