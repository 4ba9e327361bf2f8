// Run where /data is empty and its own: see CMakeLists.txt.

#include "handler/Nwatchcall.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/dump/DumpBench.h"
#include "tests/fake/TempDir.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;

const std::string kSource = "/data/persist_log/PLX/de/kjb_multimedia_perf/";

class NwatchcallTest : public testing::Test {
  protected:
    ~NwatchcallTest() override { fs::remove_all("/data/persist_log"); }
};

// Catches a pattern that takes too much or too little, a name that the shell reads as anything but
// itself, an archive without files or files without an archive, and a wait of another length.
TEST_F(NwatchcallTest, CopiesAndPacksWhatIsThere) {
    const std::string copied = "[dravo_kavel copyNwatchcallLog]: ";
    const std::string packed = "[dravo_kavel packNwatchcallLog]: ";
    const auto both = [](const std::string& prefix, const std::string& command) {
        return "I " + prefix + command + "\n$ " + command + "\n";
    };
    const std::string start = "I " + copied +
                              "copyNwatchcallLog start. wait 5 min to generate nwatchcall "
                              "log.\nsleep 300\n";
    const std::string pack = both(packed,
                                  "tar czf /data/F.tar.gz /data/F/* && chown system:system "
                                  "/data/F.tar.gz") +
                             both(packed, "mv /data/F.tar.gz /data/persist_log/PLX/de/kavel");
    const std::string remove = both(packed, "rm -rf /data/F");
    const std::string longName = std::string(200, 'x') + "watchcall_sf_hang";
    const struct {
        const char* what;
        std::string file;
        std::string lines;  // after those about the entries
    } kCases[] = {
            {"no directory", "", "I " + copied + "nwatchcallPath not found.\n" + remove},
            {"another name", "foo_hang.txt", remove},
            {"another case", "WATCHCALL_SF_HANG", remove},
            {"app", "foo_watchcall_app_hang_1.txt",
             both(copied, "cp " + kSource + "foo_watchcall_app_hang_1.txt /data/F") + pack +
                     remove},
            {"hostile", "watchcall_sf_hang;x",
             both(copied, "cp '" + kSource + "watchcall_sf_hang;x' /data/F") + pack + remove},
            {"path too long", longName,
             "I " + copied + "stat " + (kSource + longName).substr(0, 255) +
                     " failed with errno 2.\n" + pack + remove},
    };
    for (const auto& c : kCases) {
        fs::remove_all(kSource);
        if (!c.file.empty()) {
            fs::create_directories(kSource);
            test::makeFile(kSource + c.file);
        }
        DumpBench bench;
        packNwatchcallLog(copyNwatchcallLog("/data/F"), "/data/F");
        std::string transcript = bench.takeTranscript();
        std::vector<std::string> entries = {".", ".."};
        if (!c.file.empty()) entries.push_back(c.file);
        for (const std::string& entry : entries) {
            const std::string line = "I " + copied + entry + " scanned.\n";
            const size_t at = transcript.find(line);
            EXPECT_EQ(at == std::string::npos, c.file.empty()) << c.what << line;
            if (at != std::string::npos) transcript.erase(at, line.size());
        }
        EXPECT_EQ(transcript, start + c.lines) << c.what;
    }
}

// Catches a command on the root.
TEST_F(NwatchcallTest, NoFolderIsNeverPacked) {
    DumpBench bench;
    for (const char* const folder : {"", "/", "//"}) {
        packNwatchcallLog(true, folder);
        packNwatchcallLog(false, folder);
    }
    EXPECT_EQ(bench.takeTranscript().find('$'), std::string::npos);
}

// Catches a reporting thread that waits, a flood that starts threads without end, and a place that
// is not given back.
TEST_F(NwatchcallTest, FourWaitAtATime) {
    DumpBench bench;
    fake::onSleep(nullptr);
    fake::holdSleeps(true);
    NwatchcallCollector collector(bench.context());
    int32_t recordId = 1;
    const auto report = [&] {
        collector.collect(bench.add(0x401, 0, {}, recordId)->event);
        ++recordId;
    };
    for (int i = 0; i < 6; ++i) report();
    fake::awaitSleepers(4);
    EXPECT_EQ(fake::logCount("4 hang warnings are waiting already, event "), 2U);
    EXPECT_EQ(fake::commandCount("mkdir /data/persist_log/kavel30/kavel_"), 4U);
    EXPECT_EQ(bench.context().catches.size(), 4U);

    fake::advance(300);
    fake::awaitCommands("rm -rf ", 4);
    while (bench.context().catches.size() > 0) std::this_thread::yield();
    report();
    fake::awaitSleepers(1);
    fake::advance(300);
    fake::holdSleeps(false);
    fake::awaitCommands("rm -rf ", 5);
    while (bench.context().catches.size() > 0) std::this_thread::yield();
}

}  // namespace
}  // namespace android::kavel
