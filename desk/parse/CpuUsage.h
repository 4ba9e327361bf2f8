#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

/** CPU of one process, as a line "96% 381/drmserver: 96% user + 0% kernel" gives it. */
struct CpuShare {
    double percent = 0;  // of one CPU
    int32_t pid = 0;
    std::string name;
    bool isThread = false;  // of the process above it
    uint32_t line = 0;
};

/** CPU of all processes, as "64% TOTAL: 52% user + 0.5% iowait" or the head of top gives it. */
struct CpuTotal {
    double percent = 0;  // of all CPUs
    double ioWait = 0;
    uint32_t line = 0;
};

/** Reads a line of a block "CPU usage from ..." of the log or of dumpsys cpuinfo. */
std::optional<CpuShare> parseCpuShare(std::string_view line);
std::optional<CpuTotal> parseCpuTotal(std::string_view line);

/** End of the block's span after the time of its line, in ms: of "from 14ms to 321ms later", 321.
 */
std::optional<int64_t> parseCpuSpanEnd(std::string_view line);

/** One measurement of top. */
struct TopTable {
    std::vector<CpuShare> shares;  // threads of a process added up
    std::optional<CpuTotal> total;
};

/** Reads the output of top, of toybox or older. Columns may be shifted, or glued to each other. */
TopTable parseTop(std::string_view text);

}  // namespace kaveldesk
