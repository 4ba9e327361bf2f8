#include "desk/cause/LineRules.h"

#include <unordered_map>

#include "desk/parse/CpuUsage.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** Field @p index of "[a,b,c]"; the field @p last has the commas of the rest. */
std::string_view field(std::string_view message, size_t index, size_t last) {
    if (startsWith(message, "[")) message.remove_prefix(1);
    if (endsWith(message, "]")) message.remove_suffix(1);
    for (size_t i = 0; i < index; ++i) message = after(message, ",").value_or("");
    return index == last ? message : until(message, ",");
}

int32_t toNumber(std::string_view text) {
    return takeInteger<int32_t>(text).value_or(0);
}

bool anrHead(std::string_view message, Fact& fact) {
    const auto rest = startsWith(message, "ANR in ") ? after(message, "ANR in ")
                                                     : after(message, " in process: ");
    fact.process = until(*rest, " (");
    return true;
}

bool anrEvent(std::string_view message, Fact& fact) {
    fact.pid = toNumber(field(message, 1, 4));
    fact.process = field(message, 2, 4);
    fact.detail = field(message, 4, 4);
    return !fact.process.empty();
}

bool fatalException(std::string_view message, Fact& fact) {
    const bool isSystem = contains(message, "IN SYSTEM PROCESS");
    if (isSystem) fact.process = "system_server";
    fact.thread = isSystem ? trim(*after(message, "PROCESS:"))
                           : trim(*after(message, startsWith(message, "FATAL") ? ": " : "thread "));
    return true;
}

bool crashEvent(std::string_view message, Fact& fact) {
    fact.pid = toNumber(field(message, 0, 7));
    fact.process = field(message, 2, 7);
    const std::string_view exception = field(message, 4, 7);
    if (exception == "Native crash") return false;  // the tombstone says more
    fact.detail = exception;
    if (!field(message, 5, 7).empty()) fact.detail.append(": ").append(field(message, 5, 7));
    return !fact.process.empty();
}

bool fatalSignal(std::string_view message, Fact& fact) {
    fact.detail = between(message, "(", ")");
    fact.process =
            between(message.substr(std::min(message.find(", pid "), message.size())), "(", ")");
    fact.pid = numberAfter(message, ", pid ").value_or(0);
    fact.thread =
            between(message.substr(std::min(message.find(" in tid "), message.size())), "(", ")");
    return true;
}

bool watchdog(std::string_view message, Fact& fact) {
    fact.process = "system_server";
    fact.detail = trim(after(message, "PROCESS:").value_or(message));
    return true;
}

/** The kernel's module says "adj", lmkd "oom_score_adj". */
bool killLine(std::string_view message, Fact& fact) {
    fact.oomScoreAdj = numberAfter(message, "adj ");
    fact.process = between(message, "'", "'");
    fact.pid = numberAfter(message, "' (").value_or(0);
    if (const auto reason = after(message, "reason: ")) fact.detail = *reason;
    return !fact.process.empty();
}

bool killInfo(std::string_view message, Fact& fact) {
    fact.pid = toNumber(field(message, 0, 3));
    std::string_view adj = field(message, 2, 3);
    fact.oomScoreAdj = takeInteger<int32_t>(adj);
    return fact.pid != 0;
}

bool oomKill(std::string_view message, Fact& fact) {
    std::string_view rest = *after(message, " process ");
    fact.pid = takeInteger<int32_t>(rest).value_or(0);
    fact.process = until(between(rest, "(", ")"), "");
    fact.oomScoreAdj = numberAfter(message, "oom_score_adj:");
    return fact.pid != 0;
}

bool oomInvoked(std::string_view message, Fact& fact) {
    fact.process = message.substr(0, message.find(" invoked oom-killer"));
    return true;
}

bool hungTask(std::string_view message, Fact& fact) {
    const std::string_view task = between(message, "INFO: task ", " blocked for more than");
    const size_t colon = task.rfind(':');
    if (colon == std::string_view::npos) return false;
    fact.process = task.substr(0, colon);
    fact.pid = toNumber(task.substr(colon + 1));
    fact.value = numberAfter(message, "blocked for more than ").value_or(0);
    return true;
}

bool panic(std::string_view message, Fact& fact) {
    fact.detail = trim(after(message, "not syncing: ").value_or(message));
    return true;
}

bool wholeLine(std::string_view message, Fact& fact) {
    fact.detail = trim(message);
    return true;
}

/** Other texts quote the word: the kernel has it first, or after the name of its watchdog. */
bool bug(std::string_view message, Fact& fact) {
    const std::string_view head = trim(message.substr(0, message.find("BUG: ")));
    const bool isStamp = startsWith(head, "[") && (endsWith(head, "]") || endsWith(head, "["));
    return (head.empty() || isStamp || endsWith(head, "watchdog:")) && wholeLine(message, fact);
}

/** "oom-kill:constraint=CONSTRAINT_NONE,...,task=NAME,pid=2001,uid=0". */
bool oomConstraint(std::string_view message, Fact& fact) {
    fact.pid = numberAfter(message, ",pid=").value_or(0);
    fact.process = until(after(message, ",task=").value_or(""), ",");
    return fact.pid != 0;
}

/** Only states from "severe" up: below them the phone does not slow down much. */
bool thermalStatus(std::string_view message, Fact& fact) {
    fact.value = numberAfter(message, "mStatus=").value_or(0);
    return fact.value >= 3 && wholeLine(message, fact);
}

bool cpuTotal(std::string_view message, Fact& fact) {
    const auto total = parseCpuTotal(message);
    if (!total) return false;
    fact.value = total->percent;
    fact.ioWait = total->ioWait;
    return wholeLine(message, fact);
}

bool pressure(std::string_view message, Fact& fact) {
    auto rest = after(message, "avg10=");
    if (!rest) return false;
    fact.value = takeDecimal(*rest).value_or(0);
    return wholeLine(message, fact);
}

constexpr std::string_view kManager = "ActivityManager am_anr";
constexpr std::string_view kKernel = "kernel";
constexpr std::string_view kThermal = "ThermalManagerService ThermalService ThermalEngine thermald";

// clang-format off
constexpr LineRule kRules[] = {
    {FactKind::Anr,           kManager,             "ANR in ",                       true,  anrHead},
    {FactKind::Anr,           kManager,             "ANR (application not responding) in process: ", true, anrHead},
    {FactKind::Anr,           "am_anr",             ",",                             false, anrEvent},
    {FactKind::JavaCrash,     "AndroidRuntime",     "FATAL EXCEPTION: ",             true,  fatalException},
    {FactKind::JavaCrash,     "AndroidRuntime",     "FATAL EXCEPTION IN SYSTEM PROCESS:", false, fatalException},
    {FactKind::JavaCrash,     "AndroidRuntime",     "Uncaught handler: thread ",     true,  fatalException},
    {FactKind::JavaCrash,     "am_crash",           ",",                             false, crashEvent},
    {FactKind::NativeCrash,   "libc",               "Fatal signal ",                 true,  fatalSignal},
    {FactKind::Watchdog,      "Watchdog",           "WATCHDOG KILLING SYSTEM PROCESS", false, watchdog},
    {FactKind::Watchdog,      "watchdog",           "Blocked in ",                   false, watchdog},
    {FactKind::LowMemoryKill, "lmkd lowmemorykiller", "Kill '",                      true,  killLine},
    {FactKind::LowMemoryKill, "kernel lmkd lowmemorykiller", "Killing '",            false, killLine},
    {FactKind::LowMemoryKill, "killinfo",           ",",                             false, killInfo},
    {FactKind::MemcgKill,     kKernel,              "Memory cgroup out of memory: Kill", false, oomKill},
    {FactKind::MemcgKill,     kKernel,              "oom-kill:constraint=CONSTRAINT_MEMCG", false, oomConstraint},
    {FactKind::OomKill,       kKernel,              "oom-kill:constraint=",          false, oomConstraint},
    {FactKind::OomKill,       kKernel,              "Killed process ",               false, oomKill},
    {FactKind::OomKill,       kKernel,              "Kill process ",                 false, oomKill},
    {FactKind::OomInvoked,    kKernel,              " invoked oom-killer",           false, oomInvoked},
    {FactKind::HungTask,      kKernel,              "INFO: task ",                   false, hungTask},
    {FactKind::Panic,         kKernel,              "Kernel panic - not syncing",    false, panic},
    {FactKind::KernelFault,   kKernel,              "Unable to handle kernel ",      false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "soft lockup - CPU",             false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "hard LOCKUP",                   false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "detected stalls on CPU",        false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "self-detected stall on CPU",    false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "Internal error: Oops",          false, wholeLine},
    {FactKind::KernelFault,   kKernel,              "BUG: ",                         false, bug},
    {FactKind::Thermal,       kKernel,              "critical temperature reached",  false, wholeLine},
    {FactKind::Thermal,       kThermal,             "mStatus=",                      false, thermalStatus},
    {FactKind::Thermal,       kThermal,             "throttling severity ",          false, wholeLine},
    {FactKind::CpuTotal,      "ActivityManager",    "% TOTAL:",                      false, cpuTotal},
    {FactKind::Pressure,      "ActivityManager",    "some avg10=",                   true,  pressure},
    {FactKind::Pressure,      "ActivityManager",    "full avg10=",                   true,  pressure},
};
// clang-format on

/** For a phone's log of a million lines, the tag decides first. */
const std::unordered_map<std::string_view, std::vector<const LineRule*>>& rulesByTag() {
    static const auto* const kByTag = [] {
        auto* byTag = new std::unordered_map<std::string_view, std::vector<const LineRule*>>;
        for (const LineRule& rule : kRules) {
            std::string_view tags = rule.tags;
            for (auto tag = takeWord(tags); !tag.empty(); tag = takeWord(tags)) {
                (*byTag)[tag].push_back(&rule);
            }
        }
        return byTag;
    }();
    return *kByTag;
}

bool read(const LineRule& rule, std::string_view message, Fact& fact) {
    const bool fits = rule.atStart ? startsWith(message, rule.mark) : contains(message, rule.mark);
    if (!fits) return false;
    Fact candidate = fact;
    candidate.kind = rule.kind;
    if (!rule.read(message, candidate)) return false;
    fact = std::move(candidate);
    return true;
}

}  // namespace

bool isWanted(std::string_view tag) {
    return tag.empty() || tag == "DEBUG" || rulesByTag().count(tag) != 0;
}

bool readFact(std::string_view tag, std::string_view message, Fact& fact) {
    if (tag.empty()) {
        for (const LineRule& rule : kRules) {
            // A lone comma says nothing without its tag.
            if (rule.mark.size() > 1 && read(rule, message, fact)) return true;
        }
        return false;
    }
    const auto rules = rulesByTag().find(tag);
    if (rules == rulesByTag().end()) return false;
    for (const LineRule* rule : rules->second) {
        if (read(*rule, message, fact)) return true;
    }
    return false;
}

}  // namespace kaveldesk
