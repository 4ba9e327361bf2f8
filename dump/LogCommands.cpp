#include "dump/LogCommands.h"

#include "platform/ShellQuote.h"

namespace android::kavel {

const std::array<LogBit, kLogBitCount> kLogBits = {{
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
constexpr CommandPool kLogcat = CommandPool::Logcat;
}  // namespace

// These texts are part of the interface: readers of the archives expect them, including "vask", the
// double blanks, and the missing blank in "top>". "dumpsys power" records the bit of the binder
// transactions, not its own: tools that read the integrity results rely on it.
// clang-format off
const std::array<LogCommand, kLogCommandCount> kLogCommands = {{
//   test bit                                command                                              output file                   pool     weight  tag bit, if another
    {KAVEL_LOGINFO_ANDROID,                  "logcat -d -v threadtime > ",                        "/android-",                  kLogcat, kLight},
    {KAVEL_LOGINFO_KERNEL,                   "dmesg > ",                                          "/kernel-",                   kCmd,    kLight},
    {KAVEL_LOGINFO_DISPLAY,                  "dumpsys display > ",                                "/display-",                  kCmd,    kLight},
    {KAVEL_LOGINFO_DISPLAY,                  "dumpsys SurfaceFlinger > ",                         "/dumpsysSF-",                kCmd,    kLight},
    {KAVEL_LOGINFO_DISPLAY,                  "dumpsys SurfaceFlinger --dravo > ",                 "/dumpsysSF_dravo-",          kCmd,    kLight},
    {KAVEL_LOGINFO_MEMINFO,                  "dumpsys -t 60 meminfo > ",                          "/meminfo-",                  kCmd,    kLight},
    {KAVEL_LOGINFO_POWER,                    "dumpsys power > ",                                  "/power-",                    kCmd,    kLight, KAVEL_LOGINFO_BINDERINFO},
    {KAVEL_LOGINFO_BINDERINFO,               "cat /sys/kernel/debug/binder/transactions > ",      "/binderinfo-",               kCmd,    kLight},
    {KAVEL_LOGINFO_CPUINFO,                  "dumpsys cpuinfo > ",                                "/cpuinfo-",                  kCmd,    kLight},
    {KAVEL_LOGINFO_CPU_INFO_NUM_RAW,         "head /proc/cpuinfo > ",                             "/cpu_info_num_raw-",         kCmd,    kLight},
    {KAVEL_LOGINFO_CPU_INFO_OVERALL_RAW,     "head /proc/stat > ",                                "/cpu_info_overall_raw-",     kCmd,    kLight},
    {KAVEL_LOGINFO_CPU_INFO_PER_PROCESS_RAW, "head /proc/*/stat > ",                              "/cpu_info_per_process_raw-", kCmd,    kLight},
    {KAVEL_LOGINFO_EVENTS,                   "logcat -d -b events > ",                            "/events-",                   kCmd,    kLight},
    {KAVEL_LOGINFO_FROZEN_INFO,              "dumpsys activity vask history > ",                  "/frozen_info-",              kCmd,    kLight},
    {KAVEL_LOGINFO_INTERRUPTS,               "cat /proc/interrupts > ",                           "/interrupts-",               kCmd,    kLight},
    {KAVEL_LOGINFO_IOINFO,                   "dumpsys storaged > ",                               "/ioinfo-",                   kCmd,    kLight},
    {KAVEL_LOGINFO_IRQINFO,                  "find /proc/irq -iname '*' -type f | xargs head > ", "/irqinfo-",                  kCmd,    kLight},
    {KAVEL_LOGINFO_PROC_MEMINFO,             "cat /proc/meminfo > ",                              "/proc_meminfo-",             kCmd,    kLight},
    {KAVEL_LOGINFO_PROC_MEMINFO,             "cat /proc/vmallocinfo > ",                          "/vmalloc_info-",             kCmd,    kLight},
    {KAVEL_LOGINFO_APP_CRASH_HISTORY,        "dumpsys dropbox -p system_app_crash --print > ",    "/app_crash_history-",        kCmd,    kLight},
    {KAVEL_LOGINFO_RADIO,                    "logcat -d -b radio  > ",                            "/radio-",                    kCmd,    kLight},
    {KAVEL_LOGINFO_TOP,                      "top -n 1 > ",                                       "/top-",                      kCmd,    kLight},
    {KAVEL_LOGINFO_SURFACEFLINGER_BACKTRACE, "debuggerd -b `pidof surfaceflinger` > ",            "/surfaceflinger_backtrace-", kCmd,    kLight},
    {KAVEL_LOGINFO_THREAD_LIST,              "ps -A -T -Z > ",                                    "/thread_list-",              kCmd,    kLight},
    {KAVEL_LOGINFO_PROP,                     "getprop > ",                                        "/prop-",                     kCmd,    kLight},
    {KAVEL_LOGINFO_PROP,                     "mount > ",                                          "/mount-",                    kCmd,    kLight},
    {KAVEL_LOGINFO_PACKAGEINFO,              "cat /data/system/packages.xml  > ",                 "/packageinfo-",              kCmd,    kLight},
    {KAVEL_LOGINFO_DUMPSYS_ACTIVITY,         "dumpsys activity > ",                               "/dumpsys_activity-",         kCmd,    kHeavy},
    {KAVEL_LOGINFO_DUMPSYS_ACTIVITY,         "dumpsys activity top> ",                            "/dumpsys_activity_top-",     kCmd,    kHeavy},
    {KAVEL_LOGINFO_DUMPSYS_WINDOW,           "dumpsys window > ",                                 "/dumpsys_window-",           kCmd,    kHeavy},
    {KAVEL_LOGINFO_DUMPSYS_INPUT,            "dumpsys input > ",                                  "/dumpsysINPUT-",             kCmd,    kHeavy},
}};
// clang-format on

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
