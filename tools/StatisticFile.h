#pragma once

#include <android-base/unique_fd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace android::kavel::tools {

/** One statistic, as the host's data-collection client keeps it. */
struct Statistic {
    std::string time;  ///< YYYY-MM-DDTHH:MM:SS.mmm, the phone's local time
    std::string tag;
    std::string event;
    std::vector<std::pair<std::string, std::string>> data;
};

/** One line of the file; nothing where it is no statistic. */
std::optional<Statistic> parseStatistic(const std::string& line);

/**
 * Reads the lines of the statistic file, those of the generation before it ("NAME.1") first, and
 * later what has come since, across a change of generations. Not thread-safe.
 */
class StatisticFile {
  public:
    explicit StatisticFile(std::filesystem::path path) : mPath(std::move(path)) {}

    /** The whole lines since the last call; at first all. Without their newlines. */
    std::vector<std::string> readNew();
    /** Whether there is anything to read: the file or the generation before it. */
    bool exists() const;
    /** Whether the file ends within a line. */
    bool isCutOff() const { return !mCurrent.unfinished.empty(); }

  private:
    struct Generation {
        base::unique_fd fd;
        std::string unfinished;
    };

    std::filesystem::path olderPath() const { return mPath.string() + ".1"; }
    static void drain(Generation& generation, std::vector<std::string>& lines);

    const std::filesystem::path mPath;
    Generation mCurrent;
    bool mHasBegun = false;
};

}  // namespace android::kavel::tools
