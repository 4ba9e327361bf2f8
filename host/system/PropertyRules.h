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
    kNoService = 0xFFFFFFFF, /**< Only from the client: nobody answered in time. */
};

/** A short text for people, such as "a read-only property is set only once". */
const char* describe(PropertyStatus status);

/** Maximum length of a name, which is a file's name (NAME_MAX). */
constexpr size_t kPropertyNameMax = 255;
/** Maximum length of a ro.* property's value; others have at most PROP_VALUE_MAX - 1 bytes. */
constexpr size_t kPropertyLongValueMax = 65536;

/** Letters, digits and "._-@:"; no dot at either end, no two dots in a row, not empty. */
bool isLegalPropertyName(std::string_view name);

/** kSuccess, kInvalidName or kInvalidValue: the rules that do not depend on what is stored. */
PropertyStatus checkProperty(std::string_view name, std::string_view value);

/**
 * Paths of the store and of the service's socket: the phone's, unless KAVEL_HOST_PROPERTY_DIR and
 * KAVEL_HOST_PROPERTY_SOCKET name others.
 */
std::string propertyDirectory();
std::string propertySocketPath();

}  // namespace android::kavel::host
