// Run where /data is empty and its own: see CMakeLists.txt.

#include <filesystem>

#include <android-base/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogFolderName.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/FakeCaptures.h"
#include "tests/dump/Folded.h"
#include "tests/fake/TempDir.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;
using Outcome = FrameworkReply::Outcome;

const std::string kAnr = "/data/anr/";
const std::string kTraces = "/data/local/traces/";
const std::string kPlx = std::string(kArchiveDirectory) + "/";

/** A file written @p seconds after the event that a fresh bench adds. */
void leave(const std::string& path, int64_t seconds) {
    fs::create_directories(fs::path(path).parent_path());
    test::makeFile(path);
    const timespec time = {DumpBench::kStartUs / 1'000'000 + seconds, 0};
    const timespec times[] = {time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

struct Road {
    const char* what;
    int64_t eventId;
    uint32_t logInfo;
    FrameworkReply framework;
    bool signals;
    const char* traceFlags;
    bool hasFiles;
};

const Road kRoads[] = {
        {"traces of every kind", 0x101, 0x40000004, {Outcome::Answered, OK, 5}, true, "", true},
        {"framework that fails", 0x4, 0x40000004, {Outcome::Answered, -22, 0}, false, "", false},
        {"no framework", 0x101, 0x10000004, {Outcome::NoService, OK, 0}, true, "", false},
        {"framework that hangs", 0x702, 0x4, {Outcome::Late, OK, 0}, true, "", true},
        {"framework that hung before", 0x704, 0x4, {Outcome::Busy, OK, 0}, true, "", true},
        {"native trace", 0x301, 0, {Outcome::NoService, OK, 0}, true, "16", true},
        {"native trace, no file", 0x302, 0, {Outcome::NoService, OK, 0}, true, "0x2", false},
        {"tracing is off", 0x201, 0, {Outcome::NoService, OK, 0}, true, "0", true},
};

std::string transcriptOf(const Road& road) {
    fs::remove_all("/data/anr");
    fs::remove_all("/data/local");
    fs::remove_all("/data/persist_log");
    if (road.hasFiles) {
        leave(kAnr + "trace_late", 12);
        leave(kAnr + "trace_$(near)", 9);
        leave(kAnr + "kavel_DumpTraces_4711_x", 10);  // another marker
        leave(kTraces + "dravo-trace.perfetto-trace", 3);
        leave(kTraces + "dravo-trace", 10);
        leave(kTraces + "perfetto-trace", 10);
        leave(kPlx + "dravo-trace x", 4);
        leave(kPlx + "kavel_x.tar.gz", 10);
    }
    fake::setFramework(road.framework);
    fake::setSignals(road.signals);
    base::SetProperty("debug.atrace.tags.enableflags", road.traceFlags);
    DumpBench bench;
    bench.context().parameters.setTimeWindow(road.eventId, 10'000);
    const CatchRef running = bench.add(road.eventId, road.logInfo);
    const int mask = static_cast<int>(road.logInfo);
    KavelDumpUtilThread::immediateDumpThread(mask, DumpBench::kRecordId, "/data/F;x");
    KavelDumpUtilThread::trailContinuousDumpThread(mask, DumpBench::kRecordId, "/data/F;x");
    EXPECT_EQ(bench.context().captures.mask(), 0U) << road.what;
    return "## " + std::string(road.what) + "\n" + test::folded(bench.takeTranscript()) + "\n";
}

/** The lines about single entries, whose order is the directory's, do not stand in the file. */
std::string withoutScans(const std::string& transcript) {
    std::string result;
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(" scanned.") == std::string::npos) result += line + "\n";
    }
    return result;
}

// Catches any change of what a trace capture asks for, says and moves, on each of its roads.
TEST(TraceCapture, RoadsAreAsInTheGoldenFile) {
    std::string all;
    for (const Road& road : kRoads) all += withoutScans(transcriptOf(road));
    EXPECT_EQ(all, test::contentOf(KAVEL_GOLDEN_DIR "/captures.txt"));
}

// Catches a scan that considers, or mentions, other entries than those with its markers; a wrong
// tag; a file that goes away between listing and stat and ends the scan.
TEST(TraceCapture, ScanNamesItsCandidates) {
    leave(kAnr + "trace_a", 9);
    fs::create_symlink("nowhere", kAnr + "trace_gone");
    leave(kTraces + "dravo-trace.perfetto-trace", 3);
    leave(kTraces + "dravo-trace", 3);
    DumpBench bench;
    const CatchRef running = bench.add(0x301, 0);
    const auto now = static_cast<unsigned long long>(running->event->timestamp.realtimeNs);
    KavelDumpUtilThread::packPreAnrTrace("/data/F", now);
    std::string transcript = bench.takeTranscript();
    for (const char* const line : {
                 "I [dravo_kavel packPreAnrTrace]: trace_a scanned.\n",
                 "I [dravo_kavel packPreAnrTrace]: trace_gone scanned.\n",
                 "I [dravo_kavel packPreAnrTrace]: stat /data/anr/trace_gone failed with errno "
                 "2.\n",
                 "$ mv /data/anr/trace_a /data/F/\n",
         }) {
        EXPECT_NE(transcript.find(line), std::string::npos) << line << transcript;
    }
    KavelDumpUtilThread::dumpNativeSystraceWithThread(DumpBench::kRecordId);
    const std::string prefix = "[dravo_kavel dumpNativeSystraceWithThread]: ";
    const std::string copy = "cp " + kTraces + "dravo-trace.perfetto-trace " + kArchiveDirectory;
    EXPECT_EQ(bench.takeTranscript(),
              "I fake: flush dravo_kavel 1 1\nI " + prefix +
                      "KavelNativeSystrace stop and restart.\nI [dravo_kavel "
                      "callNativeDumpSystrace]: dravo-trace.perfetto-trace scanned.\nI " +
                      prefix + copy + "\n$ " + copy + "\n");
    fs::remove_all("/data/anr");
}

}  // namespace
}  // namespace android::kavel
