#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

struct MemorySize {
    std::string name;  // "MemAvailable", or a process
    int64_t kiloBytes = 0;
    uint32_t line = 0;
};

/** Reads /proc/meminfo. */
std::vector<MemorySize> parseProcMemInfo(std::string_view text);

/** Reads the sizes (PSS) by process of dumpsys meminfo, the first list of them. */
std::vector<MemorySize> parseMemInfo(std::string_view text);

}  // namespace kaveldesk
