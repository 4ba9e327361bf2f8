#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace android::kavel::host {

/** Outcome of a set request; the numbers are those of bionic's property protocol (PROP_ERROR_*). */
enum class PropertyStatus : uint32_t {
    kSuccess = 0,
    kReadData = 0x0008,
    kReadOnly = 0x000B,
    kInvalidName = 0x0010,
    kInvalidValue = 0x0014,
    kControlFailed = 0x0020,
    kSetFailed = 0x0024,
    kNoService = 0xFFFFFFFF, /**< Only from the client: the service did not answer in time. */
};

/** Returns a message for the user, such as "a read-only property can be set only once". */
const char* describe(PropertyStatus status);

/** Maximum length of a name: that of a file name (NAME_MAX). */
constexpr size_t kPropertyNameMax = 255;
/** Maximum length of a ro.* property's value; others have at most PROP_VALUE_MAX - 1 bytes. */
constexpr size_t kPropertyLongValueMax = 65536;

/** Whether @p name has letters, digits and "._-@:"; no dot at an end; no two dots in a row. */
bool isLegalPropertyName(std::string_view name);

/** Checks name and value: kSuccess, kInvalidName or kInvalidValue. Ignores stored values. */
PropertyStatus checkProperty(std::string_view name, std::string_view value);

/**
 * Paths of the store and of the service's socket: KAVEL_HOST_PROPERTY_DIR and
 * KAVEL_HOST_PROPERTY_SOCKET, or the phone's paths if they are not set.
 */
std::string propertyDirectory();
std::string propertySocketPath();

}  // namespace android::kavel::host
