#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace android::kavel::test {

/** When a script starts: 2024-03-07 09:05:02.007 UTC. */
inline constexpr int64_t kScriptStartUs = 1'709'802'302'007'000;

/** Lines that come one after the other, and the one line that a golden file has in their place. */
struct Series {
    std::string name;  ///< has each "%1" to "%9" of the body, which is a part of a line
    std::string body;
    size_t size;  ///< number of lines of the body
};

/**
 * Returns the series' name, with the parts of @p text that its %N replace; an empty text if
 * @p text is not that series.
 */
std::string shortFor(const std::string& text, const Series& series);

/** Reads series: the name, and below it the lines, indented. */
std::vector<Series> readSeries(const std::string& path);

std::string replaced(std::string text, const std::string& from, const std::string& to);

/** The text with each {NAME} of a place or time spelled out. */
std::string withPlaces(std::string text);

/**
 * The transcript with fewer lines, from which it could be made again: places and times as {NAME};
 * each series as its name; "LINE xN" for a line that comes N times in a row; short lines behind
 * each other; the begin of a trace section in front of the next line, its end behind the line
 * before.
 */
std::string folded(const std::string& transcript, const std::vector<Series>& series);

}  // namespace android::kavel::test
