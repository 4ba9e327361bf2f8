// Catches a form of real phones that a parser does not read, or reads only in part. The texts are
// not part of the project: KAVEL_SAMPLES names their folder.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "desk/cause/FindCause.h"
#include "desk/parse/Text.h"
#include "desk/parse/Tombstones.h"
#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

class Samples : public testing::Test {
  protected:
    void SetUp() override {
        const char* folder = std::getenv("KAVEL_SAMPLES");
        if (folder == nullptr) GTEST_SKIP() << "KAVEL_SAMPLES does not name the folder of samples";
        mFolder = folder;
    }

    /** The evidence of a folder that has only the sample. */
    Evidence read(const fs::path& sample) const {
        const fs::path folder = testing::TempDir() + "/sample";
        fs::remove_all(folder);
        fs::create_directories(folder);
        fs::copy_file(mFolder / sample, folder / sample.filename());
        return readEvidence(folder);
    }

    std::string headline(const fs::path& sample) const {
        const Evidence evidence = read(sample);
        return findCause(evidence, buildTimeline(evidence)).headline;
    }

    fs::path mFolder;
};

TEST_F(Samples, HaveTheirKnownCauses) {
    using testing::HasSubstr;
    const struct {
        const char* sample;
        const char* words;
    } kRows[] = {
            {"anr/art13_main_blocked_on_lock.txt",
             "lock that thread \"Thread-9\" (tid 5) holds, which sleeps"},
            {"anr/art14_main_runnable_drawing.txt",
             "main thread runs in com.datadog.android.sample.vitals.BadView.onDraw"},
            {"anr/art10_arm64_main_sleeping_custom_head.txt",
             "sleeps in xcrash.sample.MainActivity.testAnrInput_onClick"},
            {"anr/art11_x86_main_native_in_jni.txt",
             "in native code in backtraceio.backtraceio.MainActivity.handledException"},
            {"anr/dalvik2012_two_processes.txt",
             "com.android.package did not respond: its main thread runs in class.method1"},
            {"native_bt/app_all_threads_native_only.txt", "is stopped by a debugger"},
            {"logcat/emulator81_threadtime_anr_no_focused_window.txt",
             "none of its windows had the focus"},
            {"logcat/events_am_anr_2015.txt", "com.google.android.gms did not respond"},
            {"logcat/android6_messages_only_anr_and_java_crash.txt",
             "com.android.systemui crashed with java.util.ConcurrentModificationException"},
            {"logcat/threadtime_fatal_exception_three_processes.txt",
             "com.google.android.volta crashed with java.lang.RuntimeException"},
            {"tombstone/android12_arm64_segv_accerr_full.txt",
             "SIGSEGV (SEGV_ACCERR) in x264_8_mbtree_propagate_cost_neon of libavcodec.so"},
            {"tombstone/android404_arm_segv_null.txt", "SIGSEGV (SEGV_MAPERR) in libwebcore.so"},
            {"tombstone/aosp_riscv64.txt",
             "crasher64 crashed with SIGABRT (SI_QUEUE) in maybe_abort"},
            {"dmesg/hung_task_thread_column.txt", "Task syz-fuzzer (4433) was blocked"},
            {"dmesg/oom_lines_of_three_kernel_ages.txt", "no memory left and ended evil-program2"},
            {"dmesg/oom_killer_invoked_then_panic.txt", "corrupted stack end detected"},
            {"dmesg/lowmemorykiller_and_suspend_2015.txt", "the low-memory killer ended"},
            {"dmesg/binder_transaction_failed_lock_imbalance.txt", "bad unlock balance"},
            {"logcat/emulator71_events_am_kill_clock_back.txt", "Not enough evidence"},
    };
    for (const auto& row : kRows)
        EXPECT_THAT(headline(row.sample), HasSubstr(row.words)) << row.sample;
}

/** Each line that looks like a part of a stack is in the thread or tombstone that it belongs to. */
TEST_F(Samples, LoseNoLineOfAStack) {
    const std::regex kStackLine(
            R"(^\s*("[^"]+" (daemon |prio=|sysTid=).*|at [\w.$<>-]+\(.*\)|(native: )?#\d+ +pc [0-9a-f]+ .*|- (waiting|locked|sleeping) .*|sysTid=\d+ +\S+))");
    size_t checked = 0;
    for (const char* folder : {"anr", "native_bt", "tombstone"}) {
        for (const auto& sample : fs::directory_iterator(mFolder / folder)) {
            const Evidence evidence = read(fs::relative(sample.path(), mFolder));
            const EvidenceFile& file = evidence.files.at(0);
            const Verdict verdict = findCause(evidence, buildTimeline(evidence));
            std::set<uint32_t> known;
            size_t room = 10'000;
            std::set<int32_t> channels;
            for (const ThreadDump& dump : verdict.dumps) {
                for (const Thread& thread : dump.threads) {
                    known.insert(thread.firstLine);
                    if (!thread.waitChannel.empty()) channels.insert(thread.sysTid);
                    for (const Frame& frame : thread.frames) known.insert(frame.line);
                    for (const Lock& lock : thread.locks) known.insert(lock.line);
                }
            }
            for (const Tombstone& tombstone : parseTombstones(file.text, 0, 0, room)) {
                for (const Frame& frame : tombstone.frames) known.insert(frame.line);
                for (const Thread& thread : tombstone.otherThreads) {
                    for (const Frame& frame : thread.frames) known.insert(frame.line);
                }
            }
            Lines lines(file.text);
            for (std::string_view line; lines.next(line);) {
                if (!std::regex_match(line.begin(), line.end(), kStackLine)) continue;
                ++checked;
                const auto channel = numberAfter(line, "sysTid=");
                const bool isChannel = startsWith(line, "sysTid=");
                EXPECT_TRUE(isChannel ? channels.count(*channel) : known.count(lines.number()))
                        << sample.path() << ":" << lines.number() << ": " << line;
            }
        }
    }
    EXPECT_GT(checked, 3000u);
}

TEST_F(Samples, HaveTheirMeasurements) {
    const Evidence evidence = read("logcat/emulator81_threadtime_anr_no_focused_window.txt");
    const auto all = usageSeries(evidence, buildTimeline(evidence));
    const auto isApp = [](const Series& series) { return series.name == "name.mlopatkin.shuttle"; };
    const auto app = std::find_if(all.begin(), all.end(), isApp);
    ASSERT_NE(app, all.end());
    ASSERT_EQ(app->points.size(), 2u);
    EXPECT_EQ(app->points[1].value, 96);
    EXPECT_EQ(app->points[1].utcNs - app->points[0].utcNs, 321'000'000);
}

}  // namespace
}  // namespace kaveldesk
