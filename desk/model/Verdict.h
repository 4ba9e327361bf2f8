#pragma once

#include <string>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/** A line that a statement rests on. */
struct Citation {
    Place place;
    std::string
            text;  // the line without its line end; "..." ends it if it is longer than 4096 bytes
};

/** One statement about the incident. */
struct Finding {
    enum class Weight : uint8_t { Cause, Contributing, Observation };
    std::string kind;  // stable identifier: "anr.lock-cycle", "memory.lmkd-kill"
    Weight weight = Weight::Observation;
    std::string sentence;  // plain English, ends with "."
    std::vector<Citation> citations;
};

/** What most likely happened. */
struct Verdict {
    std::string kind;       // "anr", "native-crash", "java-crash", "system-hang", "unknown"
    std::string headline;   // one sentence; says so if there is not enough evidence, and why
    bool isEnough = false;  // false: not enough evidence for a cause
    std::vector<Finding> findings;       // most important first
    std::vector<std::string> missing;    // one sentence each: bits, empty files, failed commands
    std::vector<std::string> signature;  // the parts that the fingerprint is made of
    std::string fingerprint;        // 16 hexadecimal digits; empty if there is nothing to group by
    std::vector<ThreadDump> dumps;  // all thread dumps of the evidence, main process first
};

}  // namespace kaveldesk
