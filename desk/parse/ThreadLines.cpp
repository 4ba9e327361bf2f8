#include "desk/parse/ThreadLines.h"

#include <algorithm>

#include "desk/parse/Text.h"

namespace kaveldesk {

std::optional<Thread> parseThreadHead(std::string_view text) {
    if (text.empty() || text.front() != '"') return std::nullopt;
    // The name can hold any character, so that the attributes decide where it ends.
    constexpr std::string_view kAttributes[] = {"\" daemon prio=", "\" prio=", "\" sysTid="};
    size_t end = std::string_view::npos;
    for (const std::string_view mark : kAttributes) end = std::min(end, text.find(mark));
    if (end == std::string_view::npos || end == 0) return std::nullopt;
    Thread thread;
    thread.name = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    thread.sysTid = numberAfter(text, " sysTid=").value_or(0);
    if (auto rest = after(text, " tid=")) {
        thread.tid = takeInteger<int32_t>(*rest).value_or(0);
        thread.state = trim(*rest);
    }
    return thread;
}

std::optional<Lock> parseLock(std::string_view text, uint32_t line) {
    struct Form {
        std::string_view words;
        Lock::Relation relation;
    };
    constexpr Form kForms[] = {
            {"- waiting to lock ", Lock::Relation::WaitsToLock},
            {"- waiting on ", Lock::Relation::WaitsOn},
            {"- sleeping on ", Lock::Relation::SleepsOn},
            {"- locked ", Lock::Relation::Holds},
    };
    for (const Form& form : kForms) {
        if (!startsWith(text, form.words)) continue;
        text.remove_prefix(form.words.size());
        Lock lock;
        lock.relation = form.relation;
        lock.line = line;
        lock.id = startsWith(text, "<") ? between(text, "<", ">") : "";
        if (const auto type = after(text, "(a ")) lock.className = until(*type, ")");
        for (const std::string_view mark : {"held by thread ", "held by tid="}) {
            if (const auto tid = numberAfter(text, mark)) lock.heldByTid = *tid;
        }
        return lock;
    }
    return std::nullopt;
}

}  // namespace kaveldesk
