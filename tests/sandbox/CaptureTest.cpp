// Trail builds: traces, app logs, tombstones and statistics, which no command of a catch writes.

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/sandbox/PhoneSession.h"

namespace fs = std::filesystem;

namespace android::kavel::test {
namespace {

class CaptureTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(daemonIsUp()); }

    /** Configures the event type and reports one event of it. */
    static void report(const std::string& id, const std::string& name,
                       std::vector<std::string> arguments) {
        configureEvent(id, {"--name", name, "--window", "20000"});
        sendEvent(id, std::move(arguments));
    }
};

// Would catch a trace that is not requested, not found, or packed into another archive.
TEST_F(CaptureTest, NoFocusWindowTakesEveryTraceAlong) {
    const std::string pid = std::to_string(atoi(run({"pidof", "system_server"}).output.c_str()));
    ASSERT_NE(pid, "0");
    std::ofstream("/data/anr/kavel_NoFocusWindow_1") << "backtrace\n";
    report("0x101", "nofocus",
           {"--log-info", std::to_string(0x40000004), "--pid", pid, "--process",
            "com.example.app"});
    const tools::ArchiveContents archive = awaitArchive("kavel_nofocus_com.example.app@");
    ASSERT_EQ(archive.broken, "");
    for (const std::string& stem :
         {std::string("kavel_NoFocusWindow_1"), "kavel_DumpTraces_" + pid + "_",
          std::string("trace_anr_"), std::string("trace_system_server_"),
          std::string("dravo-trace-")}) {
        EXPECT_TRUE(holds(archive, stem)) << stem;
    }
}

// Would catch a native trace that is taken although tracing is off, or lost although it is on.
TEST_F(CaptureTest, NativeTraceFollowsTheTraceFlags) {
    ASSERT_EQ(run({"setprop", "debug.atrace.tags.enableflags", "16"}).status, 0);
    report("0x301", "traced", {});
    EXPECT_TRUE(holds(awaitArchive("kavel_traced_system@"), "dravo-trace_dravo_kavel_"));

    ASSERT_EQ(run({"setprop", "debug.atrace.tags.enableflags", "0"}).status, 0);
    report("0x301", "untraced", {});
    const tools::ArchiveContents untraced = awaitArchive("kavel_untraced_system@");
    EXPECT_EQ(untraced.broken, "");
    EXPECT_FALSE(holds(untraced, "dravo-trace"));
    EXPECT_EQ(logCount("[dravo_kavel callNativeDumpSystrace]: Systrace status is off."), 1U);
}

// Would catch a staging service that is not started, logs that are lost, and a staging folder that
// is not removed.
TEST_F(CaptureTest, MessagingAppsLogsAreStagedAndTaken) {
    report("0x5", "chat", {"--process", "com.tencent.mm", "--version", "8", "--type", "crash"});
    const tools::ArchiveContents archive = awaitArchive("kavel_chat_com.tencent.mm@");
    EXPECT_TRUE(holds(archive, "MM_")) << archive.broken;
    EXPECT_TRUE(holds(archive, "Push_"));
    EXPECT_FALSE(fs::exists("/data/persist_log/kavel30/wxlog"));
}

// Would catch an archive with an older tombstone, or with the binary form of one.
TEST_F(CaptureTest, NewestReadableTombstoneIsTaken) {
    const auto now = fs::file_time_type::clock::now();
    int age = 3;
    for (const char* const name : {"tombstone_01", "tombstone_02", "tombstone_02.pb"}) {
        const std::string path = std::string("/data/tombstones/") + name;
        std::ofstream(path) << "*** ***\n";
        fs::last_write_time(path, now - std::chrono::minutes(age--));
    }
    report("0x701", "crash",
           {"--process", "com.android.systemui", "--version", "14", "--type", "native_crash"});
    const tools::ArchiveContents archive = awaitArchive("kavel_crash_com.android.systemui@");
    EXPECT_TRUE(holds(archive, "tombstone_02")) << archive.broken;
    EXPECT_FALSE(holds(archive, "tombstone_01"));
    EXPECT_FALSE(holds(archive, "tombstone_02.pb"));
}

// Would catch a statistic that is lost or sent twice, and a name whose quotes break its line.
TEST_F(CaptureTest, StatisticGoesToTheDataCollectionService) {
    const auto lines = [](const std::string& text) {
        size_t count = 0;
        std::ifstream file("/data/persist_log/PLX/statistics.jsonl");
        for (std::string line; std::getline(file, line);) {
            count += line.find(text) != std::string::npos ? 1 : 0;
        }
        return count;
    };
    configureEvent("0x402", {"--name", "black \"screen\""});
    for (const char* const pid : {"1234", "5678"}) sendEvent("0x402", {"--pid", pid});
    ASSERT_TRUE(eventually([&] { return lines("[\"pid\",\"5678\"]") == 1; }));
    EXPECT_EQ(lines("\"tag\":\"CriticalLog\",\"event\":\"Kavel\",\"data\":[[\"logType\",\"black "
                    "\\\"screen\\\"\"],[\"pid\",\"1234\"],[\"timestamp\",\"2"),
              1U);
}

}  // namespace
}  // namespace android::kavel::test
