#include "desk/cause/FindCause.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>
#include <tuple>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/cause/Fingerprint.h"
#include "desk/cause/FrameNames.h"
#include "desk/cause/Missing.h"
#include "desk/parse/Text.h"
#include "event/EventTypes.h"

namespace kaveldesk {
namespace {

/** What is further from the event than this does not explain it. */
constexpr int64_t kNearNs = 300'000'000'000;

/** Most statements of other candidates that a verdict lists. */
constexpr size_t kMostOthers = 20;

/** A kind of verdict. */
struct Kind {
    std::string_view name;
    bool isResource;   // a shortage: a cause of its own only where nothing else is found
    bool isPhoneWide;  // does not belong to one process
};

// In the order of preference between candidates with the same evidence for them.
constexpr Kind kKinds[] = {
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

size_t orderOf(const Candidate& candidate) {
    const auto isIt = [&](const Kind& kind) { return kind.name == candidate.kind; };
    return static_cast<size_t>(std::distance(
            std::begin(kKinds), std::find_if(std::begin(kKinds), std::end(kKinds), isIt)));
}

/** The kinds that the event asks for, from the most exact word on. */
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

enum class Match : uint8_t { Other, Unknown, Same };

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
    return kKinds[orderOf(candidate)].isPhoneWide ? Match::Unknown : Match::Other;
}

Match matchTime(const Incident& incident, const Candidate& candidate) {
    if (incident.utcNs == 0 || candidate.utcNs == 0) return Match::Unknown;
    return std::abs(incident.utcNs - candidate.utcNs) <= kNearNs ? Match::Same : Match::Other;
}

/** What speaks for a candidate; a larger value is better. */
struct Rank {
    bool isPossible = false;
    int score = 0;
    int64_t nearness = 0;

    bool operator<(const Rank& other) const {
        return std::tie(isPossible, score, nearness) <
               std::tie(other.isPossible, other.score, other.nearness);
    }
};

Rank rank(const Incident& incident, const std::vector<std::string_view>& wanted,
          const Candidate& candidate) {
    const Match process = matchProcess(incident, candidate);
    const Match time = matchTime(incident, candidate);
    const bool isWanted = std::find(wanted.begin(), wanted.end(), candidate.kind) != wanted.end();
    Rank rank;
    rank.isPossible = process != Match::Other && time != Match::Other;
    rank.score = (isWanted ? 32 : 0) + (kKinds[orderOf(candidate)].isResource ? 0 : 16) +
                 (process == Match::Same ? 8 : 0) + (candidate.isEnough ? 4 : 0) +
                 (time == Match::Same ? 2 : 0);
    rank.nearness = incident.utcNs == 0 || candidate.utcNs == 0
                            ? 0
                            : -std::abs(incident.utcNs - candidate.utcNs);
    return rank;
}

void addOthers(const Incident& incident, std::vector<Candidate>& others, Verdict& verdict) {
    if (others.size() > kMostOthers) {
        verdict.findings.push_back(
                {"more",
                 Finding::Weight::Observation,
                 fmt::format("The evidence has {} more incidents than are listed here.",
                             others.size() - kMostOthers),
                 {}});
        others.resize(kMostOthers);
    }
    for (Candidate& other : others) {
        if (other.findings.empty()) continue;
        Finding& finding = other.findings.front();
        const bool isNear = matchTime(incident, other) != Match::Other;
        const bool helps =
                kKinds[orderOf(other)].isPhoneWide || matchProcess(incident, other) == Match::Same;
        finding.weight =
                isNear && helps ? Finding::Weight::Contributing : Finding::Weight::Observation;
        if (!contains(finding.sentence, other.process)) {
            finding.sentence = fmt::format("{}: {}", other.process, finding.sentence);
        }
        verdict.findings.push_back(std::move(finding));
    }
    std::stable_sort(verdict.findings.begin(), verdict.findings.end(),
                     [](const Finding& a, const Finding& b) { return a.weight < b.weight; });
}

/** A shortage explains what the stacks do not. */
void addShortage(const Incident& incident, const std::vector<Candidate>& others, Verdict& verdict) {
    if (verdict.isEnough) return;
    for (const Candidate& other : others) {
        const bool explains =
                kKinds[orderOf(other)].isResource && matchTime(incident, other) != Match::Other;
        if (!explains) continue;
        verdict.isEnough = true;
        verdict.headline = fmt::format("{} The likely cause: {}", verdict.headline, other.headline);
        constexpr std::string_view kDoubt = "Not enough evidence: ";
        if (startsWith(verdict.headline, kDoubt)) verdict.headline.erase(0, kDoubt.size());
        verdict.signature.push_back(other.findings.front().kind);
        return;
    }
}

std::string whyUnknown(const Incident& incident, bool hasCandidates) {
    if (!hasCandidates) {
        return "Not enough evidence: no file has a report of an ANR, a crash, a hang or a "
               "shortage.";
    }
    return fmt::format(
            "Not enough evidence: what the files report is about other processes or further than "
            "five minutes from the event{}.",
            incident.process.empty() ? "" : fmt::format(" of {}", incident.process));
}

/** Fills in the texts of all citations, with one pass through each file. */
void fillTexts(const Evidence& evidence, Verdict& verdict) {
    std::vector<Citation*> citations;
    for (Finding& finding : verdict.findings) {
        for (Citation& citation : finding.citations) citations.push_back(&citation);
    }
    const auto key = [](const Citation* c) { return std::tie(c->place.file, c->place.line); };
    std::sort(citations.begin(), citations.end(),
              [&](const Citation* a, const Citation* b) { return key(a) < key(b); });
    for (auto next = citations.begin(); next != citations.end();) {
        const uint32_t file = (*next)->place.file;
        Lines lines(evidence.files.at(file).text);
        std::string_view line;
        while (next != citations.end() && (*next)->place.file == file) {
            if (lines.number() == (*next)->place.line) {
                (*next++)->text = line;
            } else if (!lines.next(line)) {
                ++next;
            }
        }
    }
}

void moveMainFirst(const Incident& incident, std::vector<ThreadDump>& dumps) {
    std::stable_partition(dumps.begin(), dumps.end(), [&](const ThreadDump& dump) {
        return (incident.pid != 0 && dump.pid == incident.pid) ||
               (!incident.process.empty() && dump.process == incident.process);
    });
}

}  // namespace

Verdict findCause(const Evidence& evidence, const Timeline& timeline) {
    const Incident& incident = evidence.incident;
    Case c(evidence, timeline);
    std::vector<Candidate> candidates;
    for (const auto judge : {judgeNativeCrash, judgeJavaCrash, judgeAnr, judgeSystemHang,
                             judgeKernel, judgeMemory, judgeLoad}) {
        for (Candidate& candidate : judge(c)) candidates.push_back(std::move(candidate));
    }
    const auto wanted = wantedKinds(incident);
    std::stable_sort(candidates.begin(), candidates.end(),
                     [&](const Candidate& a, const Candidate& b) {
                         return rank(incident, wanted, b) < rank(incident, wanted, a);
                     });
    Verdict verdict;
    verdict.kind = "unknown";
    if (!candidates.empty() && rank(incident, wanted, candidates.front()).isPossible) {
        Candidate& best = candidates.front();
        verdict.kind = std::move(best.kind);
        verdict.headline = std::move(best.headline);
        verdict.isEnough = best.isEnough;
        verdict.findings = std::move(best.findings);
        verdict.signature = std::move(best.signature);
        candidates.erase(candidates.begin());
        addShortage(incident, candidates, verdict);
        verdict.fingerprint = fingerprintOf(verdict.signature);
    } else {
        verdict.headline = whyUnknown(incident, !candidates.empty());
    }
    addOthers(incident, candidates, verdict);
    verdict.missing = missingEvidence(evidence, c.dumps);
    fillTexts(evidence, verdict);
    verdict.dumps = std::move(c.dumps);
    moveMainFirst(incident, verdict.dumps);
    return verdict;
}

}  // namespace kaveldesk
