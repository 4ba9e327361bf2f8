#include "dump/LogCommands.h"

#include "platform/ShellQuote.h"

namespace android::kavel {

const std::array<LogBit, 31> kLogBits = {{
        {KAVEL_LOGINFO_ANDROID, "ANDROID"},
        {KAVEL_LOGINFO_KERNEL, "KERNEL"},
        {KAVEL_LOGINFO_ANR_TRACE, "ANR_TRACE"},
        {KAVEL_LOGINFO_DISPLAY, "DISPLAY"},
        {KAVEL_LOGINFO_MEMINFO, "MEMINFO"},
        {KAVEL_LOGINFO_BINDERINFO, "BINDERINFO"},
        {KAVEL_LOGINFO_POWER, "POWER"},
        {KAVEL_LOGINFO_APP_CRASH_HISTORY, "APP_CRASH_HISTORY"},
        {KAVEL_LOGINFO_CPUINFO, "CPUINFO"},
        {KAVEL_LOGINFO_CPU_INFO_NUM_RAW, "CPU_INFO_NUM_RAW"},
        {KAVEL_LOGINFO_CPU_INFO_OVERALL_RAW, "CPU_INFO_OVERALL_RAW"},
        {KAVEL_LOGINFO_CPU_INFO_PER_PROCESS_RAW, "CPU_INFO_PER_PROCESS_RAW"},
        {KAVEL_LOGINFO_EVENTS, "EVENTS"},
        {KAVEL_LOGINFO_FROZEN_INFO, "FROZEN_INFO"},
        {KAVEL_LOGINFO_INTERRUPTS, "INTERRUPTS"},
        {KAVEL_LOGINFO_IOINFO, "IOINFO"},
        {KAVEL_LOGINFO_IRQINFO, "IRQINFO"},
        {KAVEL_LOGINFO_PACKAGEINFO, "PACKAGEINFO"},
        {KAVEL_LOGINFO_PROC_MEMINFO, "PROC_MEMINFO"},
        {KAVEL_LOGINFO_PROP, "PROP"},
        {KAVEL_LOGINFO_RADIO, "RADIO"},
        {KAVEL_LOGINFO_SURFACEFLINGER_BACKTRACE, "SURFACEFLINGER_BACKTRACE"},
        {KAVEL_LOGINFO_DUMPSYS_INPUT, "DUMPSYS_INPUT"},
        {KAVEL_LOGINFO_THREAD_LIST, "THREAD_LIST"},
        {KAVEL_LOGINFO_TOP, "TOP"},
        {KAVEL_LOGINFO_NATIVE_SYSTRACE, "NATIVE_SYSTRACE"},
        {KAVEL_LOGINFO_DUMPSYS_ACTIVITY, "DUMPSYS_ACTIVITY"},
        {KAVEL_LOGINFO_DUMPSYS_WINDOW, "DUMPSYS_WINDOW"},
        {KAVEL_LOGINFO_ANR_STACKTRACE, "ANR_STACKTRACE"},
        {KAVEL_LOGINFO_FRAMEWORK_SYSTRACE, "FRAMEWORK_SYSTRACE"},
        {KAVEL_LOGINFO_SYSTEM_SERVER_TRACES, "SYSTEM_SERVER_TRACES"},
}};

namespace {
constexpr bool kLight = false;
constexpr bool kHeavy = true;
constexpr CommandPool kCmd = CommandPool::Cmd;
}  // namespace

// These texts are part of the interface: readers of the archives expect them, including "vask", the
// double blanks, and the missing blank in "top>". "dumpsys power" records the bit of the binder
// transactions, not its own: tools that read the integrity results rely on it.
// clang-format off
const std::array<LogCommand, 31> kLogCommands = {{
    {0x1,       "logcat -d -v threadtime > ",                         "/android-",                   0x1,       CommandPool::Logcat, kLight},
    {0x2,       "dmesg > ",                                           "/kernel-",                    0x2,       kCmd, kLight},
    {0x8,       "dumpsys display > ",                                 "/display-",                   0x8,       kCmd, kLight},
    {0x8,       "dumpsys SurfaceFlinger > ",                          "/dumpsysSF-",                 0x8,       kCmd, kLight},
    {0x8,       "dumpsys SurfaceFlinger --dravo > ",                  "/dumpsysSF_dravo-",           0x8,       kCmd, kLight},
    {0x10,      "dumpsys -t 60 meminfo > ",                           "/meminfo-",                   0x10,      kCmd, kLight},
    {0x40,      "dumpsys power > ",                                   "/power-",                     0x20,      kCmd, kLight},
    {0x20,      "cat /sys/kernel/debug/binder/transactions > ",       "/binderinfo-",                0x20,      kCmd, kLight},
    {0x100,     "dumpsys cpuinfo > ",                                 "/cpuinfo-",                   0x100,     kCmd, kLight},
    {0x200,     "head /proc/cpuinfo > ",                              "/cpu_info_num_raw-",          0x200,     kCmd, kLight},
    {0x400,     "head /proc/stat > ",                                 "/cpu_info_overall_raw-",      0x400,     kCmd, kLight},
    {0x800,     "head /proc/*/stat > ",                               "/cpu_info_per_process_raw-",  0x800,     kCmd, kLight},
    {0x1000,    "logcat -d -b events > ",                             "/events-",                    0x1000,    kCmd, kLight},
    {0x2000,    "dumpsys activity vask history > ",                   "/frozen_info-",               0x2000,    kCmd, kLight},
    {0x4000,    "cat /proc/interrupts > ",                            "/interrupts-",                0x4000,    kCmd, kLight},
    {0x8000,    "dumpsys storaged > ",                                "/ioinfo-",                    0x8000,    kCmd, kLight},
    {0x10000,   "find /proc/irq -iname '*' -type f | xargs head > ",  "/irqinfo-",                   0x10000,   kCmd, kLight},
    {0x40000,   "cat /proc/meminfo > ",                               "/proc_meminfo-",              0x40000,   kCmd, kLight},
    {0x40000,   "cat /proc/vmallocinfo > ",                           "/vmalloc_info-",              0x40000,   kCmd, kLight},
    {0x80,      "dumpsys dropbox -p system_app_crash --print > ",     "/app_crash_history-",         0x80,      kCmd, kLight},
    {0x100000,  "logcat -d -b radio  > ",                             "/radio-",                     0x100000,  kCmd, kLight},
    {0x1000000, "top -n 1 > ",                                        "/top-",                       0x1000000, kCmd, kLight},
    {0x200000,  "debuggerd -b `pidof surfaceflinger` > ",             "/surfaceflinger_backtrace-",  0x200000,  kCmd, kLight},
    {0x800000,  "ps -A -T -Z > ",                                     "/thread_list-",               0x800000,  kCmd, kLight},
    {0x80000,   "getprop > ",                                         "/prop-",                      0x80000,   kCmd, kLight},
    {0x80000,   "mount > ",                                           "/mount-",                     0x80000,   kCmd, kLight},
    {0x20000,   "cat /data/system/packages.xml  > ",                  "/packageinfo-",               0x20000,   kCmd, kLight},
    {0x4000000, "dumpsys activity > ",                                "/dumpsys_activity-",          0x4000000, kCmd, kHeavy},
    {0x4000000, "dumpsys activity top> ",                             "/dumpsys_activity_top-",      0x4000000, kCmd, kHeavy},
    {0x8000000, "dumpsys window > ",                                  "/dumpsys_window-",            0x8000000, kCmd, kHeavy},
    {0x400000,  "dumpsys input > ",                                   "/dumpsysINPUT-",              0x400000,  kCmd, kHeavy},
}};
// clang-format on

const std::array<TraceEvent, 7> kFrameworkTraceEvents = {{
        {0x004, 0x10004001},
        {0x101, 0x10004002},
        {0x103, 0x10004007},
        {0x702, 0x1000400B},
        {0x602, 0x1000400D},
        {0x705, 0x1000400E},
        {0x704, 0x1000400F},
}};

const std::array<TraceEvent, 4> kNativeTraceEvents = {{
        {0x301, 0x10004010},
        {0x302, 0x10004011},
        {0x201, 0x10004012},
        {0x202, 0x10004013},
}};

namespace {

template <size_t N>
const TraceEvent* findTraceEvent(const std::array<TraceEvent, N>& table, int64_t eventId) {
    for (const TraceEvent& row : table) {
        if (row.eventId == eventId) return &row;
    }
    return nullptr;
}

}  // namespace

const TraceEvent* findFrameworkTraceEvent(int64_t eventId) {
    return findTraceEvent(kFrameworkTraceEvents, eventId);
}

const TraceEvent* findNativeTraceEvent(int64_t eventId) {
    return findTraceEvent(kNativeTraceEvents, eventId);
}

uint32_t collectableBits(uint32_t logInfo) {
    uint32_t bits = 0;
    for (const LogCommand& command : kLogCommands) {
        if ((logInfo & command.testBit) != 0) bits |= command.tagBit;
    }
    return bits;
}

std::string commandText(const LogCommand& command, const std::string& folder) {
    return command.head + shellQuote(folder) + command.stem;
}

}  // namespace android::kavel
