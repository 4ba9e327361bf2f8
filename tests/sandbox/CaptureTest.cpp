// Trail builds: traces, app logs, tombstones and statistics, which no command of a catch writes.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

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
    /**
     * The same. Returns the archive, whose name begins with @p prefix. The daemon waits some
     * seconds for what others write; on a busy machine they may be late. So it has several attempts
     * to get files that begin with @p stems.
     */
    static tools::ArchiveContents caught(
            const std::string& id, const std::string& name,
            const std::vector<std::string>& arguments, const std::vector<std::string>& stems,
            const std::function<void()>& prepare = [] {}) {
        tools::ArchiveContents archive;
        for (const char* const attempt : {"", "2", "3", "4", "5"}) {
            prepare();
            report(id, name + attempt, arguments);
            archive = awaitArchive("kavel_" + name + attempt + "_");
            const auto has = [&](const std::string& stem) { return holds(archive, stem); };
            if (std::all_of(stems.begin(), stems.end(), has)) break;
        }
        EXPECT_EQ(archive.broken, "");
        for (const std::string& stem : stems) EXPECT_TRUE(holds(archive, stem)) << stem;
        return archive;
    }
};

// Would catch a trace that is not requested, not found, or packed into another archive.
TEST_F(CaptureTest, NoFocusWindowTakesEveryTraceAlong) {
    int server = 0;
    ASSERT_TRUE(eventually([&] {
        server = atoi(run({"pidof", "system_server"}).output.c_str());
        return server != 0;
    }));
    const std::string pid = std::to_string(server);
    caught("0x101", "nofocus",
           {"--log-info", std::to_string(0x40000004), "--pid", pid, "--process", "com.example.app"},
           {"kavel_NoFocusWindow_1", "kavel_DumpTraces_" + pid + "_", "trace_anr_",
            "trace_system_server_", "dravo-trace-"},
           [] { std::ofstream("/data/anr/kavel_NoFocusWindow_1") << "backtrace\n"; });
}

// Would catch a native trace that is taken although tracing is off, or lost although it is on.
TEST_F(CaptureTest, NativeTraceFollowsTheTraceFlags) {
    ASSERT_EQ(run({"setprop", "debug.atrace.tags.enableflags", "16"}).status, 0);
    caught("0x301", "traced", {}, {"dravo-trace_dravo_kavel_"});

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
    caught("0x5", "chat", {"--process", "com.tencent.mm", "--version", "8", "--type", "crash"},
           {"MM_", "Push_"});
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
    const tools::ArchiveContents archive = caught(
            "0x701", "crash",
            {"--process", "com.android.systemui", "--version", "14", "--type", "native_crash"},
            {"tombstone_02"});
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
    // They come from two processes: the second may be the first in the file.
    for (const char* const pid : {"1234", "5678"}) {
        const std::string field = std::string("[\"pid\",\"") + pid + "\"]";
        ASSERT_TRUE(eventually([&] { return lines(field) == 1; }));
    }
    EXPECT_EQ(lines("\"tag\":\"CriticalLog\",\"event\":\"Kavel\",\"data\":[[\"logType\",\"black "
                    "\\\"screen\\\"\"],[\"pid\",\"1234\"],[\"timestamp\",\"2"),
              1U);
}

}  // namespace
}  // namespace android::kavel::test
