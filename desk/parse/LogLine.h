#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "desk/model/Timeline.h"
#include "desk/parse/Time.h"

namespace kaveldesk {

/** What the head of a log line says. Offsets count from the start of the line. */
struct LineHead {
    Level level = Level::Unknown;
    int32_t pid = 0;
    int32_t tid = 0;
    uint32_t tagAt = 0;
    uint16_t tagLength = 0;
    uint32_t messageAt = 0;
};

struct LogcatLine {
    Stamp stamp;
    LineHead head;
};

/**
 * Parses a line of logcat's formats threadtime, time and long brief, with or without year, zone,
 * microseconds and uid. Returns nullopt for any other line, such as "beginning of" lines.
 */
std::optional<LogcatLine> parseLogcatLine(std::string_view line);

struct KernelLine {
    int64_t bootNs = 0;  // the kernel's clock
    LineHead head;
};

/** Parses "<N>[ time][ Tnnn] text"; only the time is necessary. Returns nullopt without it. */
std::optional<KernelLine> parseKernelLine(std::string_view line);

/** A time of day that the kernel wrote into its own log, as nanoseconds since the epoch. */
std::optional<int64_t> wallClockInKernelLine(std::string_view message);

/** Takes the next line of @p text from @p position, without its line end, and moves behind it. */
std::string_view takeLine(std::string_view text, size_t& position);

}  // namespace kaveldesk
