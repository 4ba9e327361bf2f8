#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/**
 * Name of a frame without what differs between builds and runs: addresses, offsets, arguments,
 * numbers of lambdas and anonymous classes. A frame without a symbol has the name of its library.
 */
std::string frameName(const Frame& frame);

/** Bound for names in sentences: those in a text can have any length. */
inline constexpr size_t kLongestName = 256;

/** Name of a frame for a sentence: that of Java as it is written. */
std::string shownName(const Frame& frame);

/** Name of a process without what differs between runs: path, arguments, numbers of its parts. */
std::string processName(std::string_view process);

/** The first frame that is not the platform's own; the first of all if there is no other. */
const Frame* ownFrame(const std::vector<Frame>& frames);

/** Names of the first @p count frames to group by: own ones if there are any. No name repeats. */
std::vector<std::string> groupFrames(const std::vector<Frame>& frames, size_t count);

}  // namespace kaveldesk
