#include "desk/cause/FindCause.h"

#include <algorithm>
#include <tuple>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/cause/Fingerprint.h"
#include "desk/cause/Missing.h"
#include "desk/cause/Rank.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** Most statements of other candidates that a verdict lists. */
constexpr size_t kMostOthers = 20;

std::string withoutDoubt(const std::string& headline) {
    constexpr std::string_view kDoubt = "Not enough evidence: ";
    return startsWith(headline, kDoubt) ? headline.substr(kDoubt.size()) : headline;
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
        // A report without stacks says more than its headline: why the system found it.
        if (finding.kind != "anr.report") finding.sentence = withoutDoubt(other.headline);
        for (auto rest = other.findings.begin() + 1; rest != other.findings.end(); ++rest) {
            if (!rest->citations.empty()) finding.citations.push_back(rest->citations.front());
        }
        const bool isNear = matchTime(incident, other) != Match::Other;
        const bool helps =
                kindOf(other).isPhoneWide || matchProcess(incident, other) == Match::Same;
        finding.weight = isNear && helps && other.reach != Reach::Cached
                                 ? Finding::Weight::Contributing
                                 : Finding::Weight::Observation;
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
        const bool explains = kindOf(other).isResource && other.reach != Reach::Cached &&
                              matchTime(incident, other) != Match::Other;
        if (!explains) continue;
        verdict.isEnough = true;
        verdict.headline = fmt::format("{} The likely cause: {}", withoutDoubt(verdict.headline),
                                       other.headline);
        verdict.signature.push_back(other.findings.front().kind);
        return;
    }
}

std::string whyUnknown(const Evidence& evidence, bool hasCandidates) {
    const auto& files = evidence.files;
    const Incident& incident = evidence.incident;
    if (std::all_of(files.begin(), files.end(),
                    [](const EvidenceFile& file) { return file.text.empty(); })) {
        return "Not enough evidence: there is no text that can be read.";
    }
    if (!hasCandidates) {
        return "Not enough evidence: no file has a report of an ANR, a crash, a hang or a "
               "shortage.";
    }
    return fmt::format(
            "Not enough evidence: what the files report is about other processes or further than "
            "five minutes from the event{}.",
            incident.process.empty() ? "" : fmt::format(" of {}", incident.process));
}

/** Phones are short of something every day: a shortage alone explains only an event that asks for
 * it, or the end of a process in use. */
bool isCause(const std::vector<std::string_view>& wanted, const Candidate& candidate) {
    return !kindOf(candidate).isResource || candidate.reach == Reach::Used ||
           std::find(wanted.begin(), wanted.end(), candidate.kind) != wanted.end();
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

/** Messages and lines of a log can have any length. */
void shortenTexts(Verdict& verdict) {
    constexpr size_t kLongestSentence = 2048;
    constexpr size_t kLongestLine = 4096;
    shorten(verdict.headline, kLongestSentence);
    for (Finding& finding : verdict.findings) {
        shorten(finding.sentence, kLongestSentence);
        for (Citation& citation : finding.citations) shorten(citation.text, kLongestLine);
    }
    for (std::string& part : verdict.signature) shorten(part, kLongestSentence);
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
                         return rankOf(incident, wanted, b) < rankOf(incident, wanted, a);
                     });
    Verdict verdict;
    verdict.kind = "unknown";
    const bool isPossible =
            !candidates.empty() && rankOf(incident, wanted, candidates.front()).isPossible;
    if (isPossible && !isCause(wanted, candidates.front())) {
        if (wanted.size() == 1) verdict.kind = wanted.front();
        verdict.headline =
                fmt::format("Not enough evidence: no file says what happened{}. Near the event: {}",
                            incident.process.empty() ? "" : fmt::format(" to {}", incident.process),
                            candidates.front().headline);
    } else if (isPossible) {
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
        verdict.headline = whyUnknown(evidence, !candidates.empty());
    }
    addOthers(incident, candidates, verdict);
    if (c.facts.isCut) {
        verdict.findings.push_back(
                {"cut",
                 Finding::Weight::Observation,
                 "The logs report more incidents than can be compared: the last ones "
                 "are left out.",
                 {}});
    }
    verdict.missing = missingEvidence(c, verdict.kind, wanted);
    fillTexts(evidence, verdict);
    shortenTexts(verdict);
    verdict.dumps = std::move(c.dumps);
    moveMainFirst(incident, verdict.dumps);
    return verdict;
}

std::string_view weightName(Finding::Weight weight) {
    switch (weight) {
        case Finding::Weight::Cause:
            return "cause";
        case Finding::Weight::Contributing:
            return "contributing";
        case Finding::Weight::Observation:
            return "observation";
    }
    return "observation";
}

}  // namespace kaveldesk
