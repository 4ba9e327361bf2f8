#include "desk/parse/BinderCalls.h"

#include <optional>

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

struct Ends {
    int32_t pid;
    int32_t tid;
};

/** Reads "PID:TID" at the front of @p text. */
std::optional<Ends> endsOf(std::string_view text) {
    const auto pid = takeInteger<int32_t>(text);
    if (!pid || text.empty() || text.front() != ':') return std::nullopt;
    text.remove_prefix(1);
    const auto tid = takeInteger<int32_t>(text);
    if (!tid) return std::nullopt;
    return Ends{*pid, *tid};
}

}  // namespace

std::vector<BinderCall> parseBinderCalls(std::string_view text, uint32_t file) {
    std::vector<BinderCall> calls;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        if (!contains(line, "outgoing transaction ")) continue;
        const auto from = endsOf(after(line, " from ").value_or(""));
        const auto to = endsOf(after(line, " to ").value_or(""));
        if (!from || !to) continue;
        calls.push_back({from->pid, from->tid, to->pid, to->tid, {file, lines.number()}});
    }
    return calls;
}

}  // namespace kaveldesk
