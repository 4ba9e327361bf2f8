#pragma once

#include <android-base/unique_fd.h>
#include <sys/inotify.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace android::kavel::tools {

/** Events of inotify(7) in the file's folder after which readNew() may have new lines. */
inline constexpr uint32_t kStatisticEvents = IN_MODIFY | IN_CREATE | IN_MOVED_TO;

/** One statistic, in the form that the host's data-collection client stores. */
struct Statistic {
    std::string time;  ///< ISO 8601, as the client wrote it
    std::string tag;
    std::string event;
    std::vector<std::pair<std::string, std::string>> data;
};

/** Parses one line of the file. Returns nullopt if it is not a statistic. */
std::optional<Statistic> parseStatistic(const std::string& line);

/**
 * Reads the lines of the statistic file, first those of the older file ("NAME.1"). Later calls
 * return new lines, even if the files were rotated. Not thread-safe.
 */
class StatisticFile {
  public:
    explicit StatisticFile(std::filesystem::path path) : mPath(std::move(path)) {}

    /**
     * Returns the complete lines since the last call, or all lines in the first call. Without
     * newlines.
     */
    std::vector<std::string> readNew();
    /** Whether there is a file to read: the current or the older one. */
    bool exists() const;
    /** Whether the file ends with an incomplete line. */
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
