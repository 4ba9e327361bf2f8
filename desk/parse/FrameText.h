#pragma once

#include <optional>
#include <string_view>

#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/**
 * Reads a stack frame: "at a.b.C.m(C.java:1)", "native: #00 pc 0a1b lib.so (f+4)", "#00 pc ...".
 * Returns nothing if @p text, without blanks at its ends, is no frame.
 */
std::optional<Frame> parseFrame(std::string_view text, uint32_t line);

/** True for a frame line of a native stack. */
bool isNativeFrame(std::string_view text);

}  // namespace kaveldesk
