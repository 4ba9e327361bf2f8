#include "desk/parse/CpuUsage.h"

#include "desk/parse/Text.h"

namespace kaveldesk {

std::optional<CpuShare> parseCpuShare(std::string_view line) {
    std::string_view rest = trim(line);
    const bool isThread = startsWith(line, "    ");
    // A plus marks a process that began in the span, a minus one that ended.
    if (startsWith(rest, "+") || startsWith(rest, "-")) rest.remove_prefix(1);
    const auto percent = takeDecimal(rest);
    if (!percent || !startsWith(rest, "% ")) return std::nullopt;
    rest.remove_prefix(2);
    const auto pid = takeInteger<int32_t>(rest);
    const size_t end = rest.find(": ");
    if (!pid || !startsWith(rest, "/") || end == std::string_view::npos) return std::nullopt;
    return CpuShare{*percent, *pid, std::string(rest.substr(1, end - 1)), isThread, 0};
}

std::optional<CpuTotal> parseCpuTotal(std::string_view line) {
    std::string_view rest = trim(line);
    const auto percent = takeDecimal(rest);
    if (!percent || !startsWith(rest, "% TOTAL")) return std::nullopt;
    CpuTotal total{*percent, 0, 0};
    const size_t end = rest.find("% iowait");
    if (end == std::string_view::npos) return total;
    const size_t begin = rest.find_last_of(" +", end);
    if (begin == std::string_view::npos) return total;
    rest.remove_prefix(begin + 1);
    total.ioWait = takeDecimal(rest).value_or(0);
    return total;
}

std::optional<int64_t> parseCpuSpanEnd(std::string_view line) {
    auto rest = after(line, "CPU usage from ");
    if (rest) rest = after(*rest, "ms to ");
    if (!rest) return std::nullopt;
    const auto end = takeInteger<int64_t>(*rest);
    if (!end || !startsWith(*rest, "ms ")) return std::nullopt;
    return startsWith(*rest, "ms later") ? *end : -*end;
}

}  // namespace kaveldesk
