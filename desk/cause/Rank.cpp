#include "desk/cause/Rank.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>
#include <tuple>

#include <fmt/core.h>

#include "desk/cause/FrameNames.h"
#include "desk/parse/Text.h"
#include "event/EventTypes.h"

namespace kaveldesk {
namespace {

/** What is further from the event than this does not explain it. */
constexpr int64_t kNearNs = 300'000'000'000;

// In the order of preference between candidates with the same evidence for them.
constexpr CauseKind kKinds[] = {
        {"native-crash", false, false}, {"java-crash", false, false},   {"anr", false, false},
        {"system-hang", false, true},   {"kernel", false, true},        {"low-memory", true, true},
        {"io-wait", true, true},        {"cpu-starvation", true, true}, {"thermal", true, true},
};

/** A word in the name of an event type or in its extra text, and the kind that it asks for. */
struct Hint {
    std::string_view word;
    std::string_view kind;
};

constexpr Hint kHints[] = {
        {"NATIVE_CRASH", "native-crash"},
        {"NATIVECRASH", "native-crash"},
        {"TOMBSTONE", "native-crash"},
        {"JAVA_CRASH", "java-crash"},
        {"ANR", "anr"},
        {"UI_TIMEOUT", "anr"},
        {"NO_FOCUS", "anr"},
        {"HANG", "system-hang"},
        {"WATCHDOG", "system-hang"},
        {"FREEZE", "system-hang"},
        {"PANIC", "kernel"},
        {"MEMORY", "low-memory"},
        {"OOM", "low-memory"},
        {"THERMAL", "thermal"},
        {"CRASH", "native-crash"},
        {"CRASH", "java-crash"},
};

}  // namespace

const CauseKind& kindOf(const Candidate& candidate) {
    const auto isIt = [&](const CauseKind& kind) { return kind.name == candidate.kind; };
    return *std::find_if(std::begin(kKinds), std::prev(std::end(kKinds)), isIt);
}

std::vector<std::string_view> wantedKinds(const Incident& incident) {
    std::string text = fmt::format("{} {} {}", incident.type, incident.event,
                                   android::kavel::eventTypeOf(incident.eventId).name);
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::vector<std::string_view> kinds;
    std::string_view word;
    for (const Hint& hint : kHints) {
        if (!contains(text, hint.word) || (!word.empty() && word != hint.word)) continue;
        word = hint.word;
        kinds.push_back(hint.kind);
    }
    return kinds;
}

Match matchProcess(const Incident& incident, const Candidate& candidate) {
    if (incident.pid != 0 && candidate.pid == incident.pid) return Match::Same;
    const bool isOpen =
            incident.process.empty() || incident.process == "system" || candidate.process.empty();
    if (isOpen) return Match::Unknown;
    const std::string wanted = processName(incident.process);
    const std::string found = processName(candidate.process);
    if (wanted == found) return Match::Same;
    // Another process of the same app, or of the whole phone.
    if (until(wanted, ":") == until(found, ":")) return Match::Unknown;
    return kindOf(candidate).isPhoneWide ? Match::Unknown : Match::Other;
}

Match matchTime(const Incident& incident, const Candidate& candidate) {
    if (incident.utcNs == 0 || candidate.utcNs == 0) return Match::Unknown;
    return std::abs(incident.utcNs - candidate.utcNs) <= kNearNs ? Match::Same : Match::Other;
}

bool Rank::operator<(const Rank& other) const {
    return std::tie(isPossible, score, nearness) <
           std::tie(other.isPossible, other.score, other.nearness);
}

Rank rankOf(const Incident& incident, const std::vector<std::string_view>& wanted,
            const Candidate& candidate) {
    const Match process = matchProcess(incident, candidate);
    const Match time = matchTime(incident, candidate);
    const bool isWanted = std::find(wanted.begin(), wanted.end(), candidate.kind) != wanted.end();
    Rank rank;
    rank.isPossible = process != Match::Other && time != Match::Other;
    rank.score = (isWanted ? 32 : 0) + (kindOf(candidate).isResource ? 0 : 16) +
                 (process == Match::Same ? 8 : 0) + (candidate.isEnough ? 4 : 0) +
                 (time == Match::Same ? 2 : 0);
    rank.nearness = incident.utcNs == 0 || candidate.utcNs == 0
                            ? 0
                            : -std::abs(incident.utcNs - candidate.utcNs);
    return rank;
}

}  // namespace kaveldesk
