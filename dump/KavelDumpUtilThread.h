#pragma once

#include <cstdint>
#include <string>

#include "event/KavelEvent.h"

namespace android {

/**
 * The threads that catch and pack one event's logs, and the steps they are made of. Static: what
 * they share stands in kavel::DumpContext. An event is named by its record id; a step for an id
 * whose catch is not registered logs one line and does nothing.
 */
class KavelDumpUtilThread {
  public:
    // Dump threads. Each is the body of a thread of its own and ends when its steps are done.

    /** The first round: the history line and every log that @p logInfo selects. */
    static void immediateDumpThread(int logInfo, int kavelEventId, std::string path);
    /** Waits out the event's time window, takes the streaming logs again, and packs @p path. */
    static void trailContinuousDumpThread(int logInfo, int kavelEventId, std::string path);
    /**
     * Commercial builds: takes the streaming logs again after half a minute, and packs @p path, or
     * the event's own folder where @p path is empty or gone.
     */
    static void commercialContinuousDumpThread(int kavelEventId, std::string path);

    // Collection.

    /** Starts every command that @p logInfo selects, into @p path, and waits for none. */
    static void collectLog(int logInfo, std::string path, int kavelEventId);
    /** Pool task: runs @p cmd + time + ".txt" and records @p logBit as collected. */
    static void collectLogWithCmdExecuteThread(std::string cmd, int logBit, int kavelEventId);

    // Packing.

    /**
     * Adds what the event's type asks for, waits for the commands, packs @p path into an archive in
     * the collection directory and removes it.
     *
     * @param needPackAnrStacktrace  1: the daemon's own traces of the process, 2: all of its ANR
     *                               files, anything else: none
     */
    static void trailLogPack(int kavelEventId, std::string path, int needPackAnrStacktrace);
    /**
     * The same on a commercial build: adds the stack traces and the folders of the events around
     * it, waiting for the commands of each. @p spare is not read.
     */
    static void commercialLogPack(int kavelEventId, std::string path, std::string spare);
    /** Appends the names and versions of the event to extraInfo.txt in @p path. */
    static void packExtraInfo(const KavelEvent* event, long eventId, std::string path);
    /** Adds the backtrace of the process that event type @p eventId is about. */
    static void packTargetBacktrace(std::string path, long eventId);
    /** Moves the ANR traces of @p pid next to @p time into @p path, as trailLogPack() says. */
    static void packAnrStacktrace(int pid, std::string path, int needPackAnrStacktrace,
                                  unsigned long long time);
    /** Copies the newest tombstone that is text into @p path. */
    static void packNativeTombstones(std::string path);
    /** Whether the commands of the event have reported exactly the bits that it selects. */
    static bool verifyLogIntegrity(int kavelEventId);

    // Trace capture. @p time is wall-clock nanoseconds.

    /** Both wait for the framework's answer, but not for ever (callFramework()). */
    static void callFrameworkDumpANRTrace(int kavelEventId);
    static void callFrameworkDumpSystrace();
    /** Asks the event's process to dump its stacks; 0 where it was told. */
    static int dumpSystemServerTraces(int kavelEventId, std::string path);
    /** Queues dumpNativeSystraceWithThread(), where the trace flags are set. */
    static void callNativeDumpSystrace(int kavelEventId);
    /** Pool task: flushes the native trace and copies its file to the collection directory. */
    static void dumpNativeSystraceWithThread(int kavelEventId);
    /** The name of the native trace that fits the event best; empty where there is none. */
    static std::string getLatestNativeSystraceFilePath(int kavelEventId);
    /** Each of these moves the trace that fits @p time best into @p path. */
    static void packSystraceLog(std::string path, unsigned long long time);
    static void packSystemServerTraceLog(std::string path, unsigned long long time);
    static void packPreAnrTrace(std::string path, unsigned long long time);

    // History and app logs.

    /** Appends the event's line to kavel_history.txt in @p path. */
    static void generateKavelHistoryLog(int kavelEventId, std::string path);
    /** The time text of the event; empty for an unknown one. */
    static std::string getKavelTimestampStr(int kavelEventId);
    /** Copies the staged logs of the messaging app into @p path and discards the staging. */
    static void packXlogForWeChat(std::string path);
    /** Bytes of the regular files right in @p path; 0 where there is no such folder. */
    static int64_t totalXlogSize(std::string path);
};

/** Whether @p path is a directory, links followed; logs why where it is not. */
bool checkPathIsDir(std::string& path);

namespace kavel {

/** Logs @p prefix + @p command + @p suffix through the masking helper, then runs the command. */
int logAndRun(const char* prefix, const std::string& command, const char* suffix = "");

/** How packAnrStacktrace() is to deal with an event of these log-selection bits. */
int anrStacktraceFlag(uint32_t logInfo);

/** Whether every log that @p record selects has been reported as taken. */
bool isCollected(const KavelEvent& record);
/** Waits for that, fifteen seconds at most: late logs must not cost the early ones. */
void awaitCollected(const KavelEvent& record);

/** tar, move to the collection directory, remove: how every catch of @p path ends. */
void packFolder(const char* prefix, const std::string& path);

}  // namespace kavel
}  // namespace android
