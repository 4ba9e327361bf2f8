#pragma once

#include <sstream>
#include <string>

namespace android::kavel::test {

/** Puts neighbouring lines of @p text into rows, with "; " between them. */
inline std::string rowsOf(const std::string& text) {
    constexpr size_t kWidth = 180;
    std::string rows;
    size_t width = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        const bool fits = width > 0 && width + line.size() < kWidth;
        if (!rows.empty()) rows += fits ? "; " : "\n";
        width = (fits ? width : 0) + line.size() + 2;
        rows += line;
    }
    return rows;
}

}  // namespace android::kavel::test
