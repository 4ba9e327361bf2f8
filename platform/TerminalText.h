#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace android::kavel {

/**
 * Whether a terminal might act on @p character: C0, DEL, C1, and what changes the order or the
 * lines of the text around it.
 */
bool isTerminalControl(uint32_t character);

/**
 * Returns @p text in a form that is safe for a terminal: the bytes of those characters, and bytes
 * that are not UTF-8, become "\xNN". All other characters are unchanged.
 */
std::string printable(std::string_view text);

/**
 * Returns the number of columns of @p text on a terminal. East Asian wide characters and
 * pictographs have two, combining characters none. The C library's wcwidth() depends on the locale,
 * and Android has another one than Debian. Bytes that are not UTF-8 count as one column each.
 */
size_t displayWidth(std::string_view text);

enum class Align { Left, Right };

/** Returns @p text with blanks up to @p width columns. */
std::string padded(const std::string& text, size_t width, Align align);

}  // namespace android::kavel
