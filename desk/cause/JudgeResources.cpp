#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include <fmt/core.h>

#include "desk/cause/Case.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** At most as many lines are cited for one statement; the sentence has the number of all. */
constexpr size_t kCited = 5;

/** A resource is short from these values on, in percent. */
constexpr double kBusyCpus = 90;
constexpr double kIoWait = 20;
constexpr double kPressure = 20;
constexpr double kLowMemory = 5;
constexpr double kCpuPressure = 60;

/** Values of oom_score_adj: less than the first is in use, from the second on it is cached. */
constexpr int32_t kPerceptible = 200;
constexpr int32_t kCached = 900;

/** Facts of one kind within a minute are one shortage. */
constexpr int64_t kTogetherNs = 60'000'000'000;

struct Shortage {
    bool (*applies)(const Fact& fact);
    std::string_view kind;
    std::string_view finding;
    std::string_view one;   // headline of one; {} is the process or line
    std::string_view many;  // headline of several; {} is their number
};

template <FactKind kKind>
bool isA(const Fact& fact) {
    return fact.kind == kKind;
}

bool isBusy(const Fact& fact) {
    return fact.kind == FactKind::CpuTotal && fact.value - fact.ioWait >= kBusyCpus;
}

bool isIoWait(const Fact& fact) {
    return fact.kind == FactKind::CpuTotal && fact.ioWait >= kIoWait;
}

bool isMemoryLow(const Fact& fact) {
    return fact.kind == FactKind::MemAvailable && fact.value <= kLowMemory;
}

/** Tasks that all wait say more than some that do; the kernel gives "full" for memory and io only.
 */
bool isPressure(const Fact& fact, std::string_view resource, std::string_view share, double least) {
    return fact.kind == FactKind::Pressure && fact.thread == resource && fact.value >= least &&
           startsWith(fact.detail, share);
}

constexpr Shortage kShortages[] = {
        {isA<FactKind::LowMemoryKill>, "low-memory", "memory.lmkd-kill",
         "Memory was short: the low-memory killer ended {}.",
         "Memory was short: the low-memory killer ended {} processes."},
        {isA<FactKind::OomKill>, "low-memory", "memory.oom-kill",
         "The kernel had no memory left and ended {}.",
         "The kernel had no memory left and ended {} processes."},
        {isA<FactKind::MemcgKill>, "low-memory", "memory.memcg-kill",
         "A memory cgroup was at its limit: the kernel ended {}.",
         "Memory cgroups were at their limits: the kernel ended {} processes."},
        {isA<FactKind::OomInvoked>, "low-memory", "memory.oom",
         "The kernel had no memory left when {} asked for some.",
         "The kernel had no memory left {} times."},
        {isA<FactKind::Thermal>, "thermal", "thermal.limit", "The phone was too hot: {}.",
         "The phone was too hot; {} lines say so."},
        {isBusy, "cpu-starvation", "cpu.busy", "The CPUs were busy: {}.",
         "The CPUs were busy in {} measurements."},
        {isIoWait, "io-wait", "io.wait", "The CPUs waited for storage: {}.",
         "The CPUs waited for storage in {} measurements."},
        {isMemoryLow, "low-memory", "memory.available", "Memory was short: {}.",
         "Memory was short in {} measurements."},
        {[](const Fact& fact) { return isPressure(fact, "memory", "full", kPressure); },
         "low-memory", "memory.pressure", "All tasks waited for memory: {}.",
         "All tasks waited for memory in {} measurements."},
        {[](const Fact& fact) { return isPressure(fact, "io", "full", kPressure); }, "io-wait",
         "io.pressure", "All tasks waited for storage: {}.",
         "All tasks waited for storage in {} measurements."},
        {[](const Fact& fact) { return isPressure(fact, "cpu", "some", kCpuPressure); },
         "cpu-starvation", "cpu.pressure", "Tasks waited for a CPU: {}.",
         "Tasks waited for a CPU in {} measurements."},
};

std::string nameOf(const Case& c, const Fact& fact) {
    if (!fact.process.empty())
        return fact.pid == 0 ? fact.process : fmt::format("{} (pid {})", fact.process, fact.pid);
    if (fact.pid == 0) return fact.detail;
    const std::string process = c.processOf(fact.pid);
    return process.empty() ? fmt::format("process {}", fact.pid)
                           : fmt::format("{} (pid {})", process, fact.pid);
}

bool isOwn(const Case& c, const Fact& fact) {
    const Incident& incident = c.evidence.incident;
    return (fact.pid != 0 && fact.pid == incident.pid) ||
           (!fact.process.empty() && fact.process == incident.process);
}

Reach reachOf(const Case& c, const Fact& fact) {
    const bool isKill = fact.kind == FactKind::LowMemoryKill || fact.kind == FactKind::OomKill ||
                        fact.kind == FactKind::MemcgKill;
    if (!isKill) return Reach::Unknown;
    if (isOwn(c, fact)) return Reach::Used;
    if (!fact.oomScoreAdj) return Reach::Unknown;
    if (*fact.oomScoreAdj < kPerceptible) return Reach::Used;
    return *fact.oomScoreAdj >= kCached ? Reach::Cached : Reach::Unknown;
}

/** Several logs and lines report the end of one process. */
size_t countOf(const std::vector<const Fact*>& facts) {
    std::set<int32_t> pids;
    size_t others = 0;
    for (const Fact* fact : facts) {
        if (fact->pid == 0) {
            ++others;
        } else {
            pids.insert(fact->pid);
        }
    }
    return pids.size() + others;
}

/** Makes one candidate of the facts from @p first to @p last, which are of one shortage. */
Candidate judge(const Case& c, const Shortage& shortage, std::vector<const Fact*> facts) {
    Candidate candidate;
    candidate.kind = shortage.kind;
    candidate.utcNs = facts.back()->utcNs;
    candidate.reach = Reach::Cached;
    for (const Fact* fact : facts) candidate.reach = std::max(candidate.reach, reachOf(c, *fact));
    // A kill of the incident's own process is the one to name.
    for (const Fact*& fact : facts) {
        if (!isOwn(c, *fact)) continue;
        candidate.process = c.evidence.incident.process;
        std::swap(fact, facts.back());
        break;
    }
    const size_t count = countOf(facts);
    if (count == 1) {  // the line that names the process comes first
        std::stable_partition(facts.begin(), facts.end(),
                              [](const Fact* fact) { return fact->process.empty(); });
    }
    candidate.headline = count == 1 || !candidate.process.empty()
                                 ? fmt::format(fmt::runtime(shortage.one), nameOf(c, *facts.back()))
                                 : fmt::format(fmt::runtime(shortage.many), count);
    candidate.signature = {candidate.kind, "", std::string(shortage.finding)};
    Finding finding{std::string(shortage.finding), Finding::Weight::Cause, candidate.headline, {}};
    for (size_t i = 0; i < std::min(facts.size(), kCited); ++i) {
        finding.citations.push_back(cite(facts[facts.size() - 1 - i]->place));
    }
    candidate.findings.push_back(std::move(finding));
    return candidate;
}

std::vector<Candidate> judgeShortages(const Case& c, bool isMemory) {
    std::vector<Candidate> candidates;
    for (const Shortage& shortage : kShortages) {
        if ((shortage.kind == "low-memory") != isMemory) continue;
        std::vector<const Fact*> together;
        for (const Fact& fact : c.facts.facts) {
            if (!shortage.applies(fact)) continue;
            if (!together.empty() && fact.utcNs - together.back()->utcNs > kTogetherNs) {
                candidates.push_back(judge(c, shortage, together));
                together.clear();
            }
            together.push_back(&fact);
        }
        if (!together.empty()) candidates.push_back(judge(c, shortage, together));
    }
    return candidates;
}

}  // namespace

std::vector<Candidate> judgeMemory(const Case& c) {
    return judgeShortages(c, true);
}

std::vector<Candidate> judgeLoad(const Case& c) {
    return judgeShortages(c, false);
}

}  // namespace kaveldesk
