#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace android::kavel::tools {

/**
 * Returns the number of columns of @p text on a terminal. East Asian wide characters and
 * pictographs have two, combining characters none. The C library's wcwidth() depends on the locale,
 * and Android has another one than Debian. Bytes that are not UTF-8 count as one column each.
 */
size_t displayWidth(std::string_view text);

enum class Align { Left, Right };

/** Returns @p text with blanks up to @p width columns. */
std::string padded(const std::string& text, size_t width, Align align);

}  // namespace android::kavel::tools
