#pragma once

#include <fmt/core.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kaveldesk {

/**
 * A piece of HTML. Markup comes from literals of the program; every text that is put into it is
 * escaped, and its control characters, bytes that are not UTF-8 and characters that turn the
 * direction of writing become visible.
 */
class Html {
  public:
    Html() = default;
    /** @param format  markup of fmt::format; its arguments are texts, integers and pieces */
    template <size_t N, typename... Args>
    explicit Html(const char (&format)[N], const Args&... args)
          : mMarkup(fmt::format(fmt::runtime(format), markupOf(args)...)) {}

    Html& operator+=(const Html& piece) {
        mMarkup += piece.mMarkup;
        return *this;
    }
    const std::string& markup() const { return mMarkup; }

  private:
    static std::string markupOf(std::string_view text);
    static const std::string& markupOf(const Html& piece) { return piece.mMarkup; }
    static size_t markupOf(size_t number) { return number; }
    static int64_t markupOf(int64_t number) { return number; }

    std::string mMarkup;
};

/** @p text for a value in the query of a link. */
std::string urlEncoded(std::string_view text);

}  // namespace kaveldesk
