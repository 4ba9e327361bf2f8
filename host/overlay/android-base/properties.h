/* Debian's header declares WaitForProperty for bionic only; the host layer defines it too. */
#pragma once
#pragma GCC system_header

#include_next <android-base/properties.h>

#if !defined(__BIONIC__)
namespace android::base {
bool WaitForProperty(const std::string& key, const std::string& expected_value,
                     std::chrono::milliseconds relative_timeout = std::chrono::milliseconds::max());
}  // namespace android::base
#endif
