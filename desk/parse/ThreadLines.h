#pragma once

#include <optional>
#include <string_view>

#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/** Reads the first line of a thread: "name" daemon prio=5 tid=1 Blocked, or "name" sysTid=123. */
std::optional<Thread> parseThreadHead(std::string_view text);

/** Reads a line such as "- waiting to lock <0x01> (a T) held by thread 5". */
std::optional<Lock> parseLock(std::string_view text, uint32_t line);

}  // namespace kaveldesk
