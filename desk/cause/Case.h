#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "desk/cause/Facts.h"
#include "desk/model/Evidence.h"
#include "desk/model/ThreadDump.h"
#include "desk/model/Timeline.h"
#include "desk/model/Verdict.h"
#include "desk/parse/BinderCalls.h"

namespace kaveldesk {

/** What the evidence says, read once; the judges only look at it. */
struct Case {
    const Evidence& evidence;
    Facts facts;
    std::vector<ThreadDump> dumps;
    std::vector<Tombstone> tombstones;  // of files and logs
    std::vector<BinderCall> binderCalls;

    Case(const Evidence& evidence, const Timeline& timeline);

    /** Name of the process with @p pid, as far as a dump or a thread list has it. */
    std::string processOf(int32_t pid) const;

  private:
    void shortenNames();
};

/** Whether two reports, for example one in a log and one in the events log, can be about the same
 * failure: they are at most a minute apart, or one time is unknown (0). Times in nanoseconds. */
inline bool isNear(int64_t a, int64_t b) {
    constexpr int64_t kSameNs = 60'000'000'000;
    return a == 0 || b == 0 || std::abs(a - b) <= kSameNs;
}

/** A citation of @p place, whose text findCause() fills in. */
inline Citation cite(Place place) {
    return {place, {}};
}
inline Citation cite(const ThreadDump& dump, uint32_t line) {
    return {{dump.file, line}, {}};
}

/** Whom a shortage hit. */
enum class Reach : uint8_t {
    Cached,   // it ended processes that nobody uses, as in daily life
    Unknown,  // it slowed the phone down or ended other processes
    Used,     // it ended the process of the event or one in the foreground
};

/** A possible cause, with its findings. */
struct Candidate {
    std::string kind;
    std::string process;  // empty if it is about the whole phone
    int32_t pid = 0;
    int64_t utcNs = 0;  // 0 if unknown
    bool isEnough = true;
    Reach reach = Reach::Unknown;
    std::string headline;
    std::vector<Finding> findings;
    std::vector<std::string> signature;
};

// The judges. Each returns the possible causes of its kind, in time order.
std::vector<Candidate> judgeAnr(const Case& c);
std::vector<Candidate> judgeNativeCrash(const Case& c);
std::vector<Candidate> judgeJavaCrash(const Case& c);
std::vector<Candidate> judgeSystemHang(const Case& c);
std::vector<Candidate> judgeKernel(const Case& c);
std::vector<Candidate> judgeMemory(const Case& c);
std::vector<Candidate> judgeLoad(const Case& c);

}  // namespace kaveldesk
