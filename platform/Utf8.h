#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace android::kavel {

struct CodePoint {
    uint32_t value;
    size_t length;  ///< in bytes; 0 if the text does not start with valid UTF-8
};

/** Decodes the first character of a non-empty text by RFC 3629. */
CodePoint decodeUtf8(std::string_view text);

/** Returns @p text as a JSON string, in quotes. Each byte that is not UTF-8 becomes U+FFFD. */
std::string jsonString(std::string_view text);

}  // namespace android::kavel
