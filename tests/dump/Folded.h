#pragma once

#include <sstream>
#include <string>

namespace android::kavel::test {

/** Runs of equal lines as one, so that fifteen checks are one line of a golden file. */
inline std::string folded(const std::string& transcript) {
    std::istringstream lines(transcript);
    std::string result, line, last;
    int count = 0;
    const auto put = [&] {
        if (count > 0) result += last + (count > 1 ? " x" + std::to_string(count) : "") + "\n";
    };
    for (; std::getline(lines, line); last = line) {
        if (count > 0 && line == last) {
            ++count;
            continue;
        }
        put();
        count = 1;
    }
    put();
    return result;
}

}  // namespace android::kavel::test
