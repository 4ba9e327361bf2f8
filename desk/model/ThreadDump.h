#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "desk/model/Evidence.h"

namespace kaveldesk {

struct Frame {
    std::string text;    // without the leading "at " or "#00 pc"
    std::string symbol;  // class and method, or function; empty if there is none
    std::string module;  // library of a native frame; empty for Java
    bool isNative = false;
    uint32_t line = 0;
};

/** A lock that a thread holds or waits for. */
struct Lock {
    enum class Relation : uint8_t { Holds, WaitsToLock, WaitsOn, SleepsOn };
    Relation relation = Relation::Holds;
    std::string id;  // "0x0123abcd"; empty if unknown
    std::string className;
    int32_t heldByTid = 0;  // the runtime's thread number (tid=), not the kernel's; 0 if unknown
    uint32_t line = 0;
};

struct Thread {
    std::string name;
    std::string state;   // as written: "Blocked", "MONITOR"
    int32_t tid = 0;     // the runtime's thread number; 1 is the main thread; 0 if unknown
    int32_t sysTid = 0;  // the kernel's thread id; 0 if unknown
    std::string
            waitChannel;  // kernel function that it waits in; empty or "0" if it runs or is unknown
    std::vector<Frame> frames;
    std::vector<Lock> locks;
    uint32_t firstLine = 0;
    uint32_t lastLine = 0;
};

/** The threads of one process at one moment. A file can hold several. */
struct ThreadDump {
    std::string process;
    int32_t pid = 0;
    int64_t utcNs = 0;    // 0 if the dump has no time
    std::string subject;  // the reason that the dump gives; empty if there is none
    uint32_t subjectLine = 0;
    uint32_t file = 0;
    uint32_t firstLine = 0;
    uint32_t lastLine = 0;
    std::vector<Thread> threads;
    bool isComplete = true;  // false if the file ends inside it
};

}  // namespace kaveldesk
