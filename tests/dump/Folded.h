#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace android::kavel::test {

/**
 * @p transcript with fewer lines: "I$ [step]: COMMAND" is a line of the log and then the same
 * command, and "LINE xN" is a line that comes N times in a row.
 */
inline std::string folded(const std::string& transcript) {
    std::vector<std::string> lines;
    std::istringstream in(transcript);
    for (std::string line; std::getline(in, line);) {
        const std::string logged = "]: " + (line.rfind("$ ", 0) == 0 ? line.substr(2) : "\n");
        const std::string last = lines.empty() ? "" : lines.back();
        const bool isLogged = last.rfind("I ", 0) == 0 && last.size() > logged.size() &&
                              last.find("]: ") == last.size() - logged.size() &&
                              last.compare(last.size() - logged.size(), logged.size(), logged) == 0;
        if (isLogged) {
            lines.back().insert(1, "$");
        } else {
            lines.push_back(line);
        }
    }
    std::string result;
    for (size_t i = 0, count = 1; i < lines.size(); ++i) {
        if (i + 1 < lines.size() && lines[i + 1] == lines[i]) {
            ++count;
            continue;
        }
        result += lines[i] + (count > 1 ? " x" + std::to_string(count) : "") + "\n";
        count = 1;
    }
    return result;
}

}  // namespace android::kavel::test
