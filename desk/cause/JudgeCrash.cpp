#include <algorithm>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/cause/FrameNames.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

constexpr size_t kShownFrames = 5;

Finding framesFinding(const std::string& kind, const std::vector<Frame>& frames,
                      const std::vector<Place>& places) {
    Finding finding{kind,
                    Finding::Weight::Cause,
                    "These are the top frames of the thread that crashed.",
                    {}};
    for (size_t i = 0; i < std::min(frames.size(), kShownFrames); ++i) {
        finding.citations.push_back(cite(places[i]));
    }
    const Frame* own = ownFrame(frames);
    if (own != nullptr && own >= frames.data() + kShownFrames) {
        finding.citations.push_back(cite(places[static_cast<size_t>(own - frames.data())]));
    }
    return finding;
}

std::string inFrame(const std::vector<Frame>& frames) {
    const Frame* own = ownFrame(frames);
    if (own == nullptr) return {};
    const std::string name = shownName(*own);
    if (own->symbol.empty() || own->module.empty()) return " in " + name;
    return fmt::format(" in {} of {}", name, lastPart(own->module, "/"));
}

Candidate judge(const Tombstone& t) {
    Candidate candidate;
    candidate.kind = "native-crash";
    candidate.process = t.process;
    candidate.pid = t.pid;
    candidate.utcNs = t.utcNs;
    const std::string code = t.code.empty() ? "" : fmt::format(" ({})", t.code);
    const std::string message = t.abortMessage.empty() ? "" : fmt::format(": {}", t.abortMessage);
    candidate.headline = fmt::format("{} crashed with {}{}{}{}.", processName(t.process), t.signal,
                                     code, inFrame(t.frames), message);
    candidate.findings.push_back(
            {"native-crash.signal",
             Finding::Weight::Cause,
             fmt::format("Thread {} of {} (pid {}) got {}{}, fault address {}.", t.tid, t.process,
                         t.pid, t.signal, code, t.faultAddr.empty() ? "unknown" : t.faultAddr),
             {cite(t.signalPlace), cite(t.place)}});
    if (t.abortPlace.line != 0) {
        candidate.findings.push_back({"native-crash.abort-message",
                                      Finding::Weight::Cause,
                                      fmt::format("Its abort message is: {}.", t.abortMessage),
                                      {cite(t.abortPlace)}});
    }
    if (t.causePlace.line != 0) {
        candidate.findings.push_back({"native-crash.suspected",
                                      Finding::Weight::Contributing,
                                      fmt::format("The crash report suspects: {}.", t.cause),
                                      {cite(t.causePlace)}});
    }
    if (!t.frames.empty()) {
        candidate.findings.push_back(framesFinding("native-crash.frames", t.frames, t.framePlaces));
    }
    candidate.signature = {"native-crash", processName(t.process), t.signal};
    for (std::string& name : groupFrames(t.frames, 3))
        candidate.signature.push_back(std::move(name));
    return candidate;
}

Candidate judge(const Fact& fact) {
    Candidate candidate;
    const bool isNative = fact.kind == FactKind::NativeCrash;
    candidate.kind = isNative ? "native-crash" : "java-crash";
    candidate.process = fact.process;
    candidate.pid = fact.pid;
    candidate.utcNs = fact.utcNs;
    const std::string process =
            fact.process.empty() ? fmt::format("Process {}", fact.pid) : fact.process;
    const std::string exception(until(fact.detail, ": \t"));
    candidate.headline =
            fmt::format("{} crashed with {}{}.", process, exception, inFrame(fact.frames));
    candidate.isEnough = !fact.detail.empty();
    if (!candidate.isEnough) {
        candidate.headline = fmt::format(
                "Not enough evidence: {} crashed, but the log ends before the exception.", process);
    }
    const std::string where =
            fact.thread.empty() ? "" : fmt::format(" in thread \"{}\"", fact.thread);
    candidate.findings.push_back(
            {candidate.kind + (isNative ? ".signal" : ".exception"),
             Finding::Weight::Cause,
             fmt::format("{} crashed{} with {}.", process, where,
                         fact.detail.empty() ? "an unknown exception" : fact.detail),
             {cite(fact.detailPlace)}});
    if (fact.place.line != fact.detailPlace.line) {
        candidate.findings.back().citations.push_back(cite(fact.place));
    }
    if (!fact.frames.empty()) {
        candidate.findings.push_back(
                framesFinding(candidate.kind + ".frames", fact.frames, fact.framePlaces));
    }
    candidate.signature = {candidate.kind, processName(fact.process), exception};
    for (std::string& name : groupFrames(fact.frames, 3))
        candidate.signature.push_back(std::move(name));
    return candidate;
}

/** The same crash from several places: the first one with frames stays, with all citations. */
void addOnce(std::vector<Candidate>& candidates, Candidate candidate, bool hasFrames) {
    for (Candidate& known : candidates) {
        const bool isSame = known.kind == candidate.kind && known.pid == candidate.pid &&
                            isNear(known.utcNs, candidate.utcNs);
        if (!isSame) continue;
        const bool wasBare = known.findings.size() < 2 && hasFrames;
        if (wasBare) std::swap(known, candidate);
        if (known.utcNs == 0) known.utcNs = candidate.utcNs;
        if (known.process.empty()) known.process = candidate.process;
        auto& citations = known.findings.front().citations;
        for (Citation& citation : candidate.findings.front().citations) {
            citations.push_back(std::move(citation));
        }
        return;
    }
    candidates.push_back(std::move(candidate));
}

}  // namespace

std::vector<Candidate> judgeNativeCrash(const Case& c) {
    std::vector<Candidate> candidates;
    for (const Tombstone& t : c.tombstones) addOnce(candidates, judge(t), !t.frames.empty());
    for (const Fact& fact : c.facts.facts) {
        if (fact.kind == FactKind::NativeCrash) addOnce(candidates, judge(fact), false);
    }
    return candidates;
}

std::vector<Candidate> judgeJavaCrash(const Case& c) {
    std::vector<Candidate> candidates;
    for (const Fact& fact : c.facts.facts) {
        if (fact.kind == FactKind::JavaCrash)
            addOnce(candidates, judge(fact), !fact.frames.empty());
    }
    return candidates;
}

}  // namespace kaveldesk
