#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/Folded.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using test::DumpBench;

struct Case {
    const char* what;
    int64_t eventId;
    uint64_t logInfo;
    int64_t windowMs = 10'000;
    KavelExtraInfo extra = {};
    const char* name = "";
    bool wantsXlog = false;
};

const Case kCases[] = {
        {"ordinary event", 0x999, 0x101003, 10'000, {}, "ordinary"},
        {"0x402: five seconds, no checks", 0x402, 0x3},
        {"no window", 0x999, 0x2, 0},
        {"negative window", 0x999, 0x2, -5'000},
        {"anr extra info", 0x3, 0x2, 10'000, {"com.example.app", "1.2", "unused"}, "anr"},
        {"crash extra info, no tombstone",
         0x5,
         0,
         10'000,
         {"com.android.systemui", "1.2", "crash"}},
        {"own anr traces", 0x101, 0x10000006},
        {"all anr files, no focus", 0x101, 0x10000000},
        {"tombstone", 0x701, 0, 10'000, {"com.android.systemui", "14", "native_crash"}},
        {"ui timeout", 0x4, 0x40000000},
        {"native trace", 0x301, 0, 10'000, {"com.android.other", "1", "native_crash"}},
        {"messaging app's logs", 0x999, 0x8, 10'000, {}, "xlog", true},
        {"mask that cannot be met", 0x999, 0x40},
};

std::string transcriptOf(const Case& c) {
    DumpBench bench;
    bench.context().parameters.setTimeWindow(c.eventId, c.windowMs);
    bench.context().parameters.setEventIdMap(0, c.eventId, c.name);
    bench.context().combinedDumpRunning = true;
    bench.context().xlogRequested = c.wantsXlog;
    CatchRef running = bench.add(c.eventId, static_cast<uint32_t>(c.logInfo), c.extra);
    running->markCollected(0x80000);  // of a catch before this one
    const int mask = static_cast<int>(c.logInfo);
    KavelDumpUtilThread::immediateDumpThread(mask, DumpBench::kRecordId, "/data/F");
    KavelDumpUtilThread::trailContinuousDumpThread(mask, DumpBench::kRecordId, "/data/F");
    std::string text = "## " + std::string(c.what) + "\n" + test::folded(bench.takeTranscript());
    text += bench.context().combinedDumpRunning ? "window open" : "window closed";
    EXPECT_EQ(bench.context().captures.mask(), 0U) << c.what;
    EXPECT_FALSE(bench.context().xlogRequested) << c.what;
    running.reset();
    EXPECT_EQ(bench.context().catches.size(), 0U) << c.what;
    return text + "\n\n";
}

// Catches any change of what a catch runs, says and waits for, or of the order in which it does.
TEST(DumpThreads, CatchesAreAsInTheGoldenFile) {
    std::string all;
    for (const Case& c : kCases) all += transcriptOf(c);
    EXPECT_EQ(all, test::contentOf(KAVEL_GOLDEN_DIR "/transcripts.txt"));
}

// Catches an event type whose names are left out, or put in the other form.
TEST(TrailLogPack, ExtraInfoByEventType) {
    const struct {
        int64_t eventId;
        const char* kind;
    } kTypes[] = {{0x3, "anr"},     {0x602, "anr"},   {0x702, "anr"}, {0x5, "crash"},
                  {0x601, "crash"}, {0x701, "crash"}, {0x1, ""},      {0x4, ""},
                  {0x603, ""},      {0x700, ""},      {0x999, ""}};
    for (const auto& type : kTypes) {
        DumpBench bench;
        const CatchRef running = bench.add(type.eventId, 0);
        KavelDumpUtilThread::trailLogPack(DumpBench::kRecordId, "/data/F", 0);
        const std::string transcript = bench.takeTranscript();
        const std::string start = "packExtraInfo]: pack " + std::string(type.kind) + " ExtraInfo";
        const bool isPacked = transcript.find(start) != std::string::npos;
        EXPECT_EQ(isPacked, type.kind[0] != 0) << type.eventId;
        EXPECT_EQ(transcript.find("extraInfo.txt") != std::string::npos, isPacked) << type.eventId;
    }
}

// Catches a command with an empty or root path, and a dump thread for a record that is gone.
TEST(DumpThreads, NoCommandWithoutAFolderOrARecord) {
    DumpBench bench;
    const CatchRef running = bench.add(0x999, 0x3);
    const auto run = [](int32_t recordId, const char* path) {
        KavelDumpUtilThread::immediateDumpThread(3, recordId, path);
        KavelDumpUtilThread::trailContinuousDumpThread(3, recordId, path);
    };
    run(DumpBench::kRecordId, "");
    run(DumpBench::kRecordId, "/");
    run(12345, "/data/F");
    KavelDumpUtilThread::trailLogPack(12345, "/data/F", 0);
    KavelDumpUtilThread::generateKavelHistoryLog(12345, "/data/F");
    const std::string transcript = bench.takeTranscript();
    EXPECT_EQ(transcript.find('$'), std::string::npos) << transcript;
    EXPECT_EQ(transcript.find("sleep"), std::string::npos) << transcript;
}

}  // namespace
}  // namespace android::kavel
