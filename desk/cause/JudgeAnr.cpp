#include <algorithm>
#include <cstdlib>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/cause/FrameNames.h"
#include "desk/cause/ThreadActivity.h"
#include "desk/cause/WaitChain.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** One app that did not respond, as all places together report it. */
struct Anr {
    std::string process;
    int32_t pid = 0;
    int64_t utcNs = 0;
    std::string reason;
    std::vector<Citation> citations;
    const ThreadDump* dump = nullptr;
};

bool isSame(const Anr& anr, const std::string& process, int32_t pid, int64_t utcNs) {
    if (anr.process != process) return false;
    if (anr.pid != 0 && pid != 0 && anr.pid != pid) return false;
    return isNear(anr.utcNs, utcNs);
}

Anr& findOrAdd(std::vector<Anr>& anrs, const std::string& process, int32_t pid, int64_t utcNs) {
    const auto known = std::find_if(anrs.begin(), anrs.end(), [&](const Anr& anr) {
        return isSame(anr, process, pid, utcNs);
    });
    Anr& anr = known != anrs.end() ? *known : anrs.emplace_back();
    anr.process = process;
    if (anr.pid == 0) anr.pid = pid;
    if (anr.utcNs == 0) anr.utcNs = utcNs;
    return anr;
}

/** How well @p dump fits; 0: it is of another process or has no stacks. */
int fit(const ThreadDump& dump, const Anr& anr) {
    const bool hasPid = anr.pid != 0 && dump.pid == anr.pid;
    const bool hasName = !anr.process.empty() && dump.process == anr.process;
    const Thread* main = mainThread(dump);
    if ((!hasPid && !hasName) || main == nullptr || main->frames.empty()) return 0;
    return 1 + (hasPid ? 4 : 0) + (hasName ? 4 : 0) + (main->state.empty() ? 0 : 2) +
           (dump.subject.empty() ? 0 : 1);
}

const ThreadDump* dumpFor(const Case& c, const Anr& anr) {
    const ThreadDump* best = nullptr;
    const auto distance = [&](const ThreadDump& dump) {
        const bool isKnown = dump.utcNs != 0 && anr.utcNs != 0;
        return isKnown ? std::abs(dump.utcNs - anr.utcNs) : INT64_MAX;
    };
    for (const ThreadDump& dump : c.dumps) {
        if (fit(dump, anr) == 0) continue;
        const bool isBetter =
                best == nullptr || fit(dump, anr) > fit(*best, anr) ||
                (fit(dump, anr) == fit(*best, anr) && distance(dump) < distance(*best));
        if (isBetter) best = &dump;
    }
    return best;
}

bool isIdle(const Thread& thread) {
    return activityOf(thread).doing == Doing::Idle;
}

bool isIncident(const Case& c, const std::string& process) {
    const std::string& wanted = c.evidence.incident.process;
    return wanted.empty() || process == wanted;
}

std::vector<Anr> collect(const Case& c) {
    std::vector<Anr> anrs;
    for (const Fact& fact : c.facts.facts) {
        if (fact.kind != FactKind::Anr) continue;
        Anr& anr = findOrAdd(anrs, fact.process, fact.pid, fact.utcNs);
        if (anr.reason.empty()) anr.reason = fact.detail;
        anr.citations.push_back(cite(fact.detailPlace));
    }
    for (const ThreadDump& dump : c.dumps) {
        if (dump.subject.empty()) continue;
        Anr& anr = findOrAdd(anrs, dump.process, dump.pid, dump.utcNs);
        if (anr.reason.empty()) anr.reason = dump.subject;
        anr.citations.push_back(cite(dump, dump.subjectLine));
    }
    // The dumps alone show what the main thread did, also where the logs do not go back far enough.
    for (const ThreadDump& dump : c.dumps) {
        const bool isBacktrace = c.evidence.files[dump.file].kind == FileKind::NativeBacktrace;
        const bool isOther = !isIncident(c, dump.process);
        const Thread* main = mainThread(dump);
        if (main == nullptr || (isOther && (isBacktrace || isIdle(*main)))) continue;
        const bool isKnown = std::any_of(anrs.begin(), anrs.end(), [&](const Anr& anr) {
            return anr.process == dump.process || (anr.pid != 0 && anr.pid == dump.pid);
        });
        if (!isKnown) findOrAdd(anrs, dump.process, dump.pid, dump.utcNs);
    }
    for (Anr& anr : anrs) anr.dump = dumpFor(c, anr);
    return anrs;
}

bool saysNoFocus(std::string_view reason) {
    return contains(reason, "no window has focus") ||
           contains(reason, "does not have a focused window") ||
           contains(reason, "no focused window");
}

void addReport(const Anr& anr, Candidate& candidate) {
    if (anr.citations.empty()) return;
    const bool isFocus = saysNoFocus(anr.reason);
    const std::string process = anr.process.empty() ? "a process" : anr.process;
    candidate.findings.push_back(
            {isFocus ? "anr.no-focused-window" : "anr.report",
             isFocus ? Finding::Weight::Cause : Finding::Weight::Observation,
             anr.reason.empty() ? fmt::format("The system says that {} did not respond.", process)
                                : fmt::format("The system says that {} did not respond: {}.",
                                              process, anr.reason),
             anr.citations});
}

Candidate judge(const Case& c, const Anr& anr) {
    const std::string process = anr.process.empty() ? "a process without a name" : anr.process;
    Candidate candidate;
    candidate.kind = "anr";
    candidate.process = anr.process;
    candidate.pid = anr.pid;
    candidate.utcNs = anr.utcNs;
    candidate.signature = {"anr", processName(anr.process)};
    const bool isFocus = saysNoFocus(anr.reason);
    if (isFocus) candidate.signature.push_back("no focused window");
    if (anr.dump == nullptr) {
        addReport(anr, candidate);
        candidate.isEnough = isFocus;
        candidate.headline =
                isFocus ? fmt::format("{} did not respond: none of its windows had the focus.",
                                      process)
                        : fmt::format(
                                  "Not enough evidence: {} did not respond, but no file has the "
                                  "stack "
                                  "of its main thread.",
                                  process);
        return candidate;
    }
    const Thread& main = *mainThread(*anr.dump);
    const WaitChain chain = followWaits(c, *anr.dump, main);
    const bool wasIdle = isIdle(main);
    candidate.findings = chainFindings(c, chain, "anr");
    addReport(anr, candidate);
    if (wasIdle) {
        for (Finding& finding : candidate.findings) {
            if (finding.kind == "anr.thread") finding.weight = Finding::Weight::Observation;
        }
    }
    for (const std::string& part : chainSignature(chain)) candidate.signature.push_back(part);
    candidate.isEnough = !wasIdle || isFocus;
    // Stacks without a report are most likely of an ANR too, unless the main thread was idle.
    const std::string& wanted = c.evidence.incident.process;
    const bool isAnr =
            !anr.citations.empty() || anr.process == wanted || (wanted.empty() && !wasIdle);
    if (isFocus) {
        candidate.headline = fmt::format(
                "{} did not respond: none of its windows had the focus; its main thread {}.",
                process, chainWords(c, chain));
    } else if (wasIdle) {
        candidate.headline =
                fmt::format(isAnr ? "Not enough evidence: {} did not respond, but its main "
                                    "thread was idle again when its stack was taken."
                                  : "Not enough evidence: {} was idle: its main thread waited "
                                    "for messages.",
                            process);
    } else {
        candidate.headline = fmt::format("{}{}: its main thread {}.", process,
                                         isAnr ? " did not respond" : "", chainWords(c, chain));
    }
    return candidate;
}

}  // namespace

std::vector<Candidate> judgeAnr(const Case& c) {
    std::vector<Candidate> candidates;
    for (const Anr& anr : collect(c)) candidates.push_back(judge(c, anr));
    return candidates;
}

}  // namespace kaveldesk
