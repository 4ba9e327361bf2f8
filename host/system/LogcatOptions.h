#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/system/LogLine.h"

namespace android::kavel::host {

/** How a line is shown; see `logcat --help`. */
using LineFormat = std::string (*)(const LogLine& line);

struct LogcatOptions {
    bool help = false;
    bool clear = false;
    bool follow = true;
    std::optional<size_t> newest;     /**< Show only so many lines of what is there already. */
    std::vector<std::string> buffers; /**< Each once. */
    LineFormat format = nullptr;      /**< Null: the line as it is kept (threadtime). */
    std::map<std::string, int, std::less<>> tagPriority; /**< Lowest priority shown of a tag, */
    int otherPriority = 0;                               /**< and of all others. */
    std::optional<int> pid;

    bool shows(const LogLine& line) const;
    bool showsAll() const { return tagPriority.empty() && otherPriority == 0 && !pid; }
};

extern const char kLogcatHelp[];

/** Nothing for a wrong command line, with the reason in *error. */
std::optional<LogcatOptions> parseLogcatOptions(const std::vector<std::string>& arguments,
                                                std::string* error);

}  // namespace android::kavel::host
