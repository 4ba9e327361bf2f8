#include <algorithm>

#include <fmt/core.h>

#include "desk/cause/FrameNames.h"
#include "desk/cause/ThreadActivity.h"
#include "desk/cause/WaitChain.h"

namespace kaveldesk {
namespace {

/** "thread "x" (tid 5)", with its process if that is another one than @p dump's. */
std::string fullName(const WaitStep& step, const ThreadDump& dump) {
    std::string name = nameOf(*step.dump, *step.thread);
    if (step.dump == &dump) return name;
    return fmt::format("{} of {} (pid {})", name, step.dump->process, step.dump->pid);
}

std::string capital(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 32);
    return text;
}

std::string peerName(const Case& c, const BinderCall& call) {
    const std::string process = c.processOf(call.toPid);
    if (process.empty()) return fmt::format("process {}", call.toPid);
    return fmt::format("{} (pid {})", process, call.toPid);
}

std::string inFrame(const Thread& thread) {
    const Frame* own = ownFrame(thread.frames);
    return own == nullptr ? "" : fmt::format(" in {}", shownName(*own));
}

std::string doesWhat(const Thread& thread) {
    const Activity activity = activityOf(thread);
    if (activity.doing == Doing::Idle) return std::string(activity.words);
    const std::string_view words =
            activity.words.empty() ? std::string_view("was seen") : activity.words;
    return fmt::format("{}{}", words, inFrame(thread));
}

Finding lockFinding(const WaitStep& step, const WaitStep* holder, const std::string& kind) {
    const Lock& lock = *step.lock;
    const std::string what =
            lock.className.empty() ? lock.id : fmt::format("{} (a {})", lock.id, lock.className);
    const std::string owner =
            holder != nullptr ? nameOf(*holder->dump, *holder->thread) + " holds"
            : lock.heldByTid != 0
                    ? fmt::format("thread {}, which is not in the dump, holds", lock.heldByTid)
                    : "an unknown thread holds";
    Finding finding{kind + ".lock",
                    Finding::Weight::Cause,
                    capital(fmt::format("{} waits for the lock {} that {}.",
                                        nameOf(*step.dump, *step.thread), what, owner)),
                    {cite(*step.dump, lock.line)}};
    if (holder != nullptr) {
        const Lock* held = heldLock(*holder->thread, lock.id);
        const uint32_t line = held != nullptr ? held->line : holder->thread->firstLine;
        finding.citations.push_back(cite(*holder->dump, line));
    }
    return finding;
}

Finding stateFinding(const WaitStep& step, const ThreadDump& dump, const std::string& kind) {
    Finding finding{kind,
                    Finding::Weight::Cause,
                    capital(fmt::format("{} {}.", fullName(step, dump), doesWhat(*step.thread))),
                    {cite(*step.dump, step.thread->firstLine)}};
    const Activity activity = activityOf(*step.thread);
    const Frame* own = ownFrame(step.thread->frames);
    if (activity.frame != nullptr)
        finding.citations.push_back(cite(*step.dump, activity.frame->line));
    if (own != nullptr && own != activity.frame) {
        finding.citations.push_back(cite(*step.dump, own->line));
    }
    return finding;
}

}  // namespace

std::vector<Finding> chainFindings(const Case& c, const WaitChain& chain, const std::string& kind) {
    const ThreadDump& dump = *chain.first().dump;
    std::vector<Finding> findings = {stateFinding(chain.first(), dump, kind + ".thread")};
    for (size_t i = 0; i < chain.steps.size(); ++i) {
        const WaitStep& step = chain.steps[i];
        const WaitStep* next = i + 1 < chain.steps.size() ? &chain.steps[i + 1]
                               : chain.isCycle            ? &chain.steps[chain.cycleStart]
                                                          : nullptr;
        if (step.lock != nullptr) findings.push_back(lockFinding(step, next, kind));
        if (step.call != nullptr) {
            findings.push_back(
                    {kind + ".binder",
                     Finding::Weight::Cause,
                     capital(fmt::format("{} waits for the answer of {} to a binder call.",
                                         fullName(step, dump), peerName(c, *step.call))),
                     {cite(step.call->place)}});
        }
    }
    if (chain.isCycle) {
        Finding cycle{
                kind + ".lock-cycle",
                Finding::Weight::Cause,
                fmt::format("{} threads wait for each other in a circle: none of them can go on.",
                            chain.steps.size() - chain.cycleStart),
                {}};
        for (size_t i = chain.cycleStart; i < chain.steps.size(); ++i) {
            const WaitStep& step = chain.steps[i];
            cycle.citations.push_back(cite(*step.dump, step.thread->firstLine));
        }
        findings.insert(findings.begin(), std::move(cycle));
    } else if (chain.steps.size() > 1) {
        findings.push_back(stateFinding(chain.last(), dump, kind + ".holder"));
    }
    return findings;
}

std::string chainWords(const Case& c, const WaitChain& chain) {
    const WaitStep& first = chain.first();
    const WaitStep& last = chain.last();
    if (chain.isCycle) {
        return fmt::format(
                "is part of a deadlock of {} threads{}", chain.steps.size() - chain.cycleStart,
                chain.steps.size() < 2 ? "" : ", with " + fullName(chain.steps[1], *first.dump));
    }
    std::string peer = last.call != nullptr
                               ? fmt::format("waits for the answer of {} to a binder call",
                                             peerName(c, *last.call))
                               : doesWhat(*last.thread);
    if (chain.steps.size() == 1) {
        if (last.lock != nullptr) return doesWhat(*last.thread) + ", whose holder is unknown";
        return peer;
    }
    const char* how =
            first.lock != nullptr ? "a lock that {} holds" : "the answer of {} to a binder call";
    return fmt::format("waits for {}, which {}",
                       fmt::format(fmt::runtime(how), fullName(chain.steps[1], *first.dump)),
                       chain.steps.size() == 2 ? peer
                                               : fmt::format("waits too; at the end {} {}",
                                                             fullName(last, *first.dump), peer));
}

std::vector<std::string> chainSignature(const WaitChain& chain) {
    std::vector<std::string> parts = groupFrames(chain.first().thread->frames, 3);
    const WaitStep& end =
            chain.isCycle ? chain.steps[std::min(chain.cycleStart + 1, chain.steps.size() - 1)]
                          : chain.last();
    if (end.thread == chain.first().thread) return parts;
    for (const std::string& name : groupFrames(end.thread->frames, 1))
        parts.push_back("holder " + name);
    return parts;
}

}  // namespace kaveldesk
