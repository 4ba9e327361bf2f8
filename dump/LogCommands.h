#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace android {

/** Log-selection bits of a report's log-info word: one bit per log to collect. */
enum KavelLogInfo : uint32_t {
    KAVEL_LOGINFO_ANDROID = 0x1,
    KAVEL_LOGINFO_KERNEL = 0x2,
    KAVEL_LOGINFO_ANR_TRACE = 0x4,
    KAVEL_LOGINFO_DISPLAY = 0x8,
    KAVEL_LOGINFO_MEMINFO = 0x10,
    KAVEL_LOGINFO_BINDERINFO = 0x20,
    KAVEL_LOGINFO_POWER = 0x40,
    KAVEL_LOGINFO_APP_CRASH_HISTORY = 0x80,
    KAVEL_LOGINFO_CPUINFO = 0x100,
    KAVEL_LOGINFO_CPU_INFO_NUM_RAW = 0x200,
    KAVEL_LOGINFO_CPU_INFO_OVERALL_RAW = 0x400,
    KAVEL_LOGINFO_CPU_INFO_PER_PROCESS_RAW = 0x800,
    KAVEL_LOGINFO_EVENTS = 0x1000,
    KAVEL_LOGINFO_FROZEN_INFO = 0x2000,
    KAVEL_LOGINFO_INTERRUPTS = 0x4000,
    KAVEL_LOGINFO_IOINFO = 0x8000,
    KAVEL_LOGINFO_IRQINFO = 0x10000,
    KAVEL_LOGINFO_PACKAGEINFO = 0x20000,
    KAVEL_LOGINFO_PROC_MEMINFO = 0x40000,
    KAVEL_LOGINFO_PROP = 0x80000,
    KAVEL_LOGINFO_RADIO = 0x100000,
    KAVEL_LOGINFO_SURFACEFLINGER_BACKTRACE = 0x200000,
    KAVEL_LOGINFO_DUMPSYS_INPUT = 0x400000,
    KAVEL_LOGINFO_THREAD_LIST = 0x800000,
    KAVEL_LOGINFO_TOP = 0x1000000,
    KAVEL_LOGINFO_NATIVE_SYSTRACE = 0x2000000,
    KAVEL_LOGINFO_DUMPSYS_ACTIVITY = 0x4000000,
    KAVEL_LOGINFO_DUMPSYS_WINDOW = 0x8000000,
    KAVEL_LOGINFO_ANR_STACKTRACE = 0x10000000,
    KAVEL_LOGINFO_FRAMEWORK_SYSTRACE = 0x20000000,
    KAVEL_LOGINFO_SYSTEM_SERVER_TRACES = 0x40000000,
};

/** Streaming logs (logcat's buffers and the kernel log), which the second round collects again. */
inline constexpr uint32_t KAVEL_LOGINFO_CONTINUOUS =
        KAVEL_LOGINFO_ANDROID | KAVEL_LOGINFO_KERNEL | KAVEL_LOGINFO_EVENTS | KAVEL_LOGINFO_RADIO;

namespace kavel {

/** A log-selection bit and its name without the KAVEL_LOGINFO_ prefix. */
struct LogBit {
    uint32_t bit;
    std::string_view name;
};

/** Number of defined bits. */
inline constexpr size_t kLogBitCount = 31;

/** All defined bits, lowest first. */
extern const std::array<LogBit, kLogBitCount> kLogBits;

enum class CommandPool { Cmd, Logcat };

/** A shell command of a catch. Its output file is FOLDER + stem + time + ".txt". */
struct LogCommand {
    uint32_t testBit;  ///< the command runs if the log-info word has this bit
    const char* head;  ///< command text up to and including the redirection
    const char* stem;  ///< start of the output file's name, with its "/" and "-"
    CommandPool pool;
    bool heavy;                 ///< limited to one set of heavy dumps in 30 seconds
    uint32_t tagBit = testBit;  ///< bit recorded as collected when the command has ended
};

/** Number of commands. Some bits have several, others none. */
inline constexpr size_t kLogCommandCount = 31;

/** All commands, in the order of submission. */
extern const std::array<LogCommand, kLogCommandCount> kLogCommands;

/** Returns the bits that are recorded as collected when all commands for @p logInfo have run. */
uint32_t collectableBits(uint32_t logInfo);

/** Returns the command text before the time: head, folder (quoted if necessary) and stem. */
std::string commandText(const LogCommand& command, const std::string& folder);

}  // namespace kavel
}  // namespace android
