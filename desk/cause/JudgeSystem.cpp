#include <algorithm>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/cause/FrameNames.h"
#include "desk/cause/ThreadActivity.h"
#include "desk/cause/WaitChain.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** The names that a Watchdog line gives in brackets: "Blocked in handler on ui thread
 * (android.ui)". */
std::vector<std::string> threadNames(std::string_view subject) {
    std::vector<std::string> names;
    for (auto rest = after(subject, " ("); rest; rest = after(*rest, " (")) {
        names.emplace_back(until(*rest, ")"));
    }
    return names;
}

/** Adds what the blocked threads of system_server wait for. Returns the words about the first one.
 */
std::string addThreads(const Case& c, const ThreadDump& dump, const std::vector<std::string>& names,
                       Candidate& candidate) {
    std::string words;
    constexpr size_t kMostFindings = 40;
    for (const Thread& thread : dump.threads) {
        if (candidate.findings.size() >= kMostFindings) break;
        const bool isNamed = std::find(names.begin(), names.end(), thread.name) != names.end();
        const bool isMain = &thread == mainThread(dump);
        const Activity activity = activityOf(thread);
        const bool isBlocked = activity.doing == Doing::WaitsForLock;
        if (!isNamed && !(names.empty() && (isMain || isBlocked))) continue;
        const bool saysNothing = activity.words.empty() && thread.frames.empty();
        if (activity.doing == Doing::Idle || saysNothing) continue;
        const WaitChain chain = followWaits(c, dump, thread);
        if (words.empty()) {
            words = fmt::format("{} {}", nameOf(dump, thread), chainWords(c, chain));
            for (std::string& part : chainSignature(chain))
                candidate.signature.push_back(std::move(part));
        }
        for (Finding& finding : chainFindings(c, chain, "system-hang")) {
            candidate.findings.push_back(std::move(finding));
        }
    }
    return words;
}

const ThreadDump* dumpOf(const Case& c, std::string_view process) {
    const ThreadDump* best = nullptr;
    for (const ThreadDump& dump : c.dumps) {
        const bool isIt = processName(dump.process) == process ||
                          (process == "system_server" && dump.process == "system");
        if (isIt && (best == nullptr || dump.threads.size() > best->threads.size())) best = &dump;
    }
    return best;
}

/** The lines of one fault follow each other within this time. */
constexpr int64_t kSameFaultNs = 1'000'000'000;

/** What a fault has in common with others of its kind: no address, no CPU, no count. */
std::string faultName(const std::string& detail) {
    std::string_view name = until(detail, "#0123456789");
    for (const std::string_view mark : {" at virtual address", " request at ", " address"}) {
        name = name.substr(0, name.find(mark));
    }
    return std::string(trim(name));
}

void addKernel(const Fact& fact, std::vector<Candidate>& candidates) {
    Candidate candidate;
    candidate.kind = "kernel";
    candidate.utcNs = fact.utcNs;
    std::string id;
    if (fact.kind == FactKind::HungTask) {
        id = "kernel.hung-task";
        candidate.headline =
                fmt::format("Task {} ({}) was blocked in the kernel for more than {:.0f} s.",
                            fact.process, fact.pid, fact.value);
        candidate.signature = {"kernel", processName(fact.process), "hung task"};
    } else if (fact.kind == FactKind::Panic) {
        id = "kernel.panic";
        candidate.headline = fmt::format("The kernel stopped: {}.", fact.detail);
        candidate.signature = {"kernel", "", "panic",
                               std::string(until(fact.detail, ":0123456789"))};
    } else {
        id = "kernel.fault";
        candidate.headline = fmt::format("The kernel reported a fault in itself: {}.", fact.detail);
        candidate.signature = {"kernel", "", "fault", faultName(fact.detail)};
    }
    candidate.findings = {{id, Finding::Weight::Cause, candidate.headline, {cite(fact.place)}}};
    candidates.push_back(std::move(candidate));
}

}  // namespace

std::vector<Candidate> judgeSystemHang(const Case& c) {
    std::vector<Candidate> candidates;
    for (const Fact& fact : c.facts.facts) {
        if (fact.kind != FactKind::Watchdog) continue;
        if (!candidates.empty() && candidates.back().utcNs == fact.utcNs) {
            candidates.back().findings.front().citations.push_back(cite(fact.place));
            continue;
        }
        Candidate candidate;
        candidate.kind = "system-hang";
        candidate.process = "system_server";
        candidate.utcNs = fact.utcNs;
        candidate.signature = {"system-hang", "system_server"};
        candidate.findings = {{"system-hang.watchdog",
                               Finding::Weight::Cause,
                               fmt::format("The watchdog ended system_server: {}.", fact.detail),
                               {cite(fact.place)}}};
        const std::vector<std::string> names = threadNames(fact.detail);
        const ThreadDump* dump = dumpOf(c, "system_server");
        std::string words = dump == nullptr ? "" : addThreads(c, *dump, names, candidate);
        if (words.empty()) {
            words = fact.detail;
            for (const std::string& name : names) candidate.signature.push_back(name);
        }
        candidate.headline = fmt::format("system_server hung: {}.", words);
        candidates.push_back(std::move(candidate));
    }
    // A hang of the display has no line of a watchdog, only the stacks of surfaceflinger.
    const ThreadDump* display = dumpOf(c, "surfaceflinger");
    if (display != nullptr && mainThread(*display) != nullptr) {
        Candidate candidate;
        candidate.kind = "system-hang";
        candidate.process = "surfaceflinger";
        candidate.utcNs = display->utcNs;
        candidate.signature = {"system-hang", "surfaceflinger"};
        const std::string words = addThreads(c, *display, {mainThread(*display)->name}, candidate);
        if (!words.empty()) {
            candidate.headline = fmt::format("surfaceflinger did not go on: {}.", words);
            candidates.push_back(std::move(candidate));
        }
    }
    return candidates;
}

std::vector<Candidate> judgeKernel(const Case& c) {
    std::vector<Candidate> candidates;
    for (const Fact& fact : c.facts.facts) {
        const bool isKernel = fact.kind == FactKind::HungTask || fact.kind == FactKind::Panic ||
                              fact.kind == FactKind::KernelFault;
        if (!isKernel) continue;
        // The Oops that ends a fault says less than the line before it.
        const bool isEnd = contains(fact.detail, "Internal error: Oops") && !candidates.empty() &&
                           fact.utcNs != 0 && fact.utcNs - candidates.back().utcNs < kSameFaultNs;
        if (!isEnd) addKernel(fact, candidates);
    }
    return candidates;
}

}  // namespace kaveldesk
