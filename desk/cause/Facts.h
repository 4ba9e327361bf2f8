#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/ThreadDump.h"
#include "desk/model/Timeline.h"
#include "desk/parse/Tombstones.h"

namespace kaveldesk {

/** What a line of a log says. */
enum class FactKind : uint8_t {
    Anr,            // an app did not respond; detail: the reason
    JavaCrash,      // detail: exception and message
    NativeCrash,    // detail: signal
    Watchdog,       // system_server did not respond; detail: what was blocked
    LowMemoryKill,  // by lmkd or the kernel's lowmemorykiller; detail: the reason
    OomKill,        // by the kernel, which had no memory left
    MemcgKill,      // by the kernel, in a group of processes that was at its limit
    OomInvoked,     // process: the one that asked for memory
    HungTask,       // a task in uninterruptible sleep for too long
    Panic,          // the kernel ended; detail: why
    KernelFault,    // the kernel found a fault in itself
    Thermal,        // the phone was too hot
    CpuTotal,       // detail: the line; value, ioWait: percent of all CPUs
    MemAvailable,   // detail: in words; value: percent of all memory
    Pressure,       // detail: the line; value: percent of the last 10 s
};

struct Fact {
    FactKind kind = FactKind::Anr;
    int64_t utcNs = 0;  // 0 if unknown
    Place place;
    std::string process;  // empty if the line does not say
    int32_t pid = 0;
    std::string detail;
    Place detailPlace;  // line with the detail
    double value = 0;
    double ioWait = 0;
    std::optional<int32_t> oomScoreAdj;  // of a killed process, if the line says it
    std::vector<Frame> frames;  // of a Java crash: those of the first exception, the root cause
    std::vector<Place>
            framePlaces;  // the two dumps of a log share a stack: its frames can be in both
    std::string thread;   // that crashed; of Pressure: the resource, "memory", "io" or "cpu"
};

/** The facts of all logs and measurements in time order, and the native crashes that debuggerd
 * wrote into them. */
struct Facts {
    std::vector<Fact> facts;
    std::vector<Tombstone> tombstones;
    bool isCut = false;  // there were more than a verdict can compare
};

/** Adds the facts of the files of top, dumpsys cpuinfo and /proc/meminfo. */
void addMeasurements(const Evidence& evidence, std::vector<Fact>& facts);

/** Reads the logs, then the files of top, dumpsys cpuinfo and /proc/meminfo. */
Facts scanEvidence(const Evidence& evidence, const Timeline& timeline);

}  // namespace kaveldesk
