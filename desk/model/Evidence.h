#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

/** What a file holds, by its name and, where names differ between phones, by its first lines. */
enum class FileKind : uint8_t {
    Other,
    MainLog,          // logcat -v threadtime: main, system, crash
    EventsLog,        // logcat -b events
    RadioLog,         // logcat -b radio
    KernelLog,        // dmesg
    History,          // kavel_history.txt
    Events,           // kavel_events.txt
    ExtraInfo,        // extraInfo.txt
    Top,              // top -n 1
    CpuInfo,          // dumpsys cpuinfo
    MemInfo,          // dumpsys meminfo
    ProcMemInfo,      // /proc/meminfo
    ThreadList,       // ps -A -T -Z
    Binder,           // binder transactions
    AnrTrace,         // thread dumps by ART or Dalvik
    NativeBacktrace,  // thread dumps by debuggerd -b
    Tombstone,        // native crash report, text
    SystemTrace,      // opened in Perfetto by the user; not read
    Dumpsys,          // other dumpsys texts
};

/** Short name of @p kind for people and in JSON; it names the source of a log line. */
constexpr std::string_view kindName(FileKind kind) {
    switch (kind) {
        case FileKind::Other:
            return "other";
        case FileKind::MainLog:
            return "main";
        case FileKind::EventsLog:
            return "events";
        case FileKind::RadioLog:
            return "radio";
        case FileKind::KernelLog:
            return "kernel";
        case FileKind::History:
            return "history";
        case FileKind::Events:
            return "kavel-events";
        case FileKind::ExtraInfo:
            return "extra-info";
        case FileKind::Top:
            return "top";
        case FileKind::CpuInfo:
            return "cpuinfo";
        case FileKind::MemInfo:
            return "meminfo";
        case FileKind::ProcMemInfo:
            return "proc-meminfo";
        case FileKind::ThreadList:
            return "thread-list";
        case FileKind::Binder:
            return "binder";
        case FileKind::AnrTrace:
            return "anr-trace";
        case FileKind::NativeBacktrace:
            return "native-backtrace";
        case FileKind::Tombstone:
            return "tombstone";
        case FileKind::SystemTrace:
            return "system-trace";
        case FileKind::Dumpsys:
            return "dumpsys";
    }
    return "other";
}

/** One file of an archive. Its index in Evidence::files names it everywhere else. */
struct EvidenceFile {
    std::string name;   // path in the archive, without its log folder
    std::string text;   // any bytes; empty if the file is not text or was not read
    uint64_t size = 0;  // in the archive; larger than text if the text was cut off
    FileKind kind = FileKind::Other;
    int round = 0;  // number among the files of the same command in its folder, from 1; 0: none
    int64_t collectedUtcNs = 0;  // when its command started, by its name; 0 if unknown
};

/** What could not be read or is missing. */
struct Problem {
    std::string file;       // empty: the archive itself
    std::string sentence;   // plain English, ends with "."
    bool isNote = false;    // nothing is wrong: it says how something was found
    bool isBroken = false;  // the archive is damaged, ends early or is none
};

/** What the names of the archive and its history say about the incident. */
struct Incident {
    std::string archive;  // file or folder name, without the path
    std::string event;    // name of the event type; empty if unknown
    long eventId = 0;     // event type; 0 if unknown
    std::string process;
    std::string version;  // of the process's package
    std::string type;     // event type of the extra info, for example "native_crash"
    std::string build;    // OTA version
    int32_t pid = 0;
    int32_t uid = 0;
    uint32_t mask = 0;  // log-info bits of all events
    int64_t utcNs = 0;  // time of the first event, nanoseconds since the epoch; 0 if unknown
    int32_t utcOffsetSeconds = 0;  // of the phone, east is positive
    bool hasUtcOffset = false;
};

/** Name of a file without its folders. */
constexpr std::string_view baseName(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

/** All that was read of one archive or extracted folder. */
struct Evidence {
    std::string path;
    Incident incident;
    std::vector<EvidenceFile> files;
    std::vector<Problem> problems;
};

/** A place in a file. Lines count from 1; 0 is the file as a whole. */
struct Place {
    uint32_t file = 0;
    uint32_t line = 0;
};

}  // namespace kaveldesk
