#include "host/system/PropertyRules.h"

#include <android-base/strings.h>
#include <sys/system_properties.h>

#include <algorithm>
#include <cstdlib>

namespace android::kavel::host {

namespace {

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("._-@:").find(c) != std::string_view::npos;
}

std::string pathFromEnvironment(const char* variable, const char* otherwise) {
    const char* path = getenv(variable);
    return path != nullptr && *path != '\0' ? path : otherwise;
}

}  // namespace

const char* describe(PropertyStatus status) {
    switch (status) {
        case PropertyStatus::kSuccess:
            return "done";
        case PropertyStatus::kReadData:
            return "the request is not complete";
        case PropertyStatus::kReadOnly:
            return "a read-only property can be set only once";
        case PropertyStatus::kInvalidName:
            return "the name is not legal (letters, digits and \"._-@:\", no dot at either end, no "
                   "two dots in a row, at most 255 characters)";
        case PropertyStatus::kInvalidValue:
            return "the value is too long (at most 91 bytes; 65536 for ro.*) or contains a NUL";
        case PropertyStatus::kControlFailed:
            return "init refused the control message";
        case PropertyStatus::kSetFailed:
            return "the value could not be stored";
        case PropertyStatus::kNoService:
            return "the property service does not answer";
    }
    return "unknown error";
}

bool isLegalPropertyName(std::string_view name) {
    return !name.empty() && name.size() <= kPropertyNameMax && name.front() != '.' &&
           name.back() != '.' && name.find("..") == std::string_view::npos &&
           std::all_of(name.begin(), name.end(), isNameCharacter);
}

PropertyStatus checkProperty(std::string_view name, std::string_view value) {
    if (!isLegalPropertyName(name)) return PropertyStatus::kInvalidName;
    const size_t limit =
            base::StartsWith(name, "ro.") ? kPropertyLongValueMax : size_t{PROP_VALUE_MAX - 1};
    if (value.size() > limit || value.find('\0') != std::string_view::npos) {
        return PropertyStatus::kInvalidValue;
    }
    return PropertyStatus::kSuccess;
}

std::string propertyDirectory() {
    return pathFromEnvironment("KAVEL_HOST_PROPERTY_DIR", "/dev/__properties__");
}

std::string propertySocketPath() {
    return pathFromEnvironment("KAVEL_HOST_PROPERTY_SOCKET", "/dev/socket/property_service");
}

}  // namespace android::kavel::host
