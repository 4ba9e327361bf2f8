#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "core/DaemonStatus.h"
#include "core/KavelBinderService.h"
#include "core/KavelRecvKeventFunc.h"
#include "dump/LogFolderName.h"
#include "dump/TechnicalCatches.h"
#include "handler/KavelEventHandler.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeThreads.h"
#include "tests/fake/FakeTime.h"

// The handler exists until the process ends, so the retired workers of its pools are never joined.
extern "C" const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "report_thread_leaks=0";
}

namespace android::kavel {
namespace {

constexpr int kThreads = 8;
constexpr int kReports = 250;  // of each thread

constexpr long kCombined = 0x1;
constexpr long kAlone = 0x2;
constexpr long kMalformed = 0x3;  // its text is too short for its keys
constexpr long kNoLog = 0x402;
constexpr long kAbnormal = 0xF01;
constexpr long kDisabled = 0x777;
constexpr long kKinds[] = {kCombined, kAlone, kMalformed, kNoLog, kAbnormal, kDisabled, kCombined};

long kind(int report) {
    return kKinds[static_cast<size_t>(report) % std::size(kKinds)];
}

using Counts = std::map<long, size_t>;  // of the reports of each type

KavelEventHandler& handler() {
    return KavelEventHandler::getInstance();
}

void configure() {
    EventParameters& parameters = handler().parameters();
    for (const long eventId : kKinds) {
        parameters.updateEventParams(eventId, eventId != kDisabled, 0);
        parameters.setTimeWindow(eventId, eventId == kAlone ? 0 : 10'000);
    }
    parameters.setEventIdMap(0, kAlone, "alone");
}

/** Reports from all threads at once. */
Counts storm(bool timeMoves) {
    fake::tickAtEachReading();  // so that each folder has a name of its own
    Counts reported;
    for (int i = 0; i < kThreads * kReports; ++i) ++reported[kind(i)];
    std::atomic<bool> isOver{false};
    std::thread asker([&] {
        while (!isOver) EXPECT_NE(statusJson(describe(takeDaemonStatus({}))), "");
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, timeMoves] {
            for (int i = t * kReports; i < (t + 1) * kReports; ++i) {
                handler().report({kind(i), 0x3, i, t, "com.a"});
                if (i % 50 == 0) configure();
                if (timeMoves && i % 25 == 0) fake::advance(31);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    isOver = true;
    asker.join();
    return reported;
}

std::string between(const std::string& text, const std::string& from, const std::string& to) {
    const size_t start = text.find(from);
    if (start == std::string::npos) return "";
    const size_t value = start + from.size();
    return text.substr(value, text.find(to, value) - value);
}

/** Names in the staging directory: the folders and archives of catches in flight. */
size_t staged() {
    std::error_code none;
    const std::filesystem::directory_iterator entries(kLogFolderRoot, none);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

/** The warnings and errors so far: what a storm that does not end has to say. */
std::string problems() {
    std::string text;
    for (const fake::LogLine& line : fake::logLines()) {
        if (line.priority >= ANDROID_LOG_WARN) text += "\n" + fake::shown(line);
    }
    return text;
}

/**
 * The first reports of this process come in by @p way: one for which the handler cannot be built,
 * and one that builds it. Returns 0 if their lines are there, in order.
 */
int firstReport(void (*way)()) {
    fake::captureLog();
    fake::refuseThreads(true);
    way();
    fake::refuseThreads(false);
    if (fake::logCount(" dropped: ") != 1) return 2;
    fake::clearLog();
    way();
    const std::vector<fake::LogLine> lines = fake::logLines();
    auto line = lines.begin();
    for (const std::string text : {"[dravo_kavel getOtaVersion]: getOtaVersion.",
                                   "[generateKavelTimestamp]: generateKavelTimestamp start.",
                                   "eventId: 0x777 is Disable! value: 0"}) {
        line = std::find_if(line, lines.end(), [&](const fake::LogLine& one) {
            return one.text.find(text) != std::string::npos;
        });
    }
    return line == lines.end() ? 1 : 0;
}

void reportOverBinder() {
    const sp<KavelBinderService> service = new KavelBinderService;
    service->sendFrameworkEvent(kDisabled, 0, 0, 1, 1, String16(""));
}

void reportByKernel() {
    std::string bytes(sizeof(kavel_kevent_packet), '\0');
    bytes += "event_id: 1911.loginfo: 1.pid: 1";
    auto* const packet = reinterpret_cast<kavel_kevent_packet*>(bytes.data());
    packet->type = KEVENT_TYPE_EVENT;
    KavelRecvKeventFunc(packet);
}

// Would catch a time of arrival that is taken before the handler is there, and a daemon that ends
// because there is no thread for it.
TEST(Report, FirstReportMakesTheHandlerBeforeItsTime) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own for each way in
    EXPECT_EXIT(_exit(firstReport(reportOverBinder)), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(_exit(firstReport(reportByKernel)), testing::ExitedWithCode(0), "");
}

class Storm : public testing::TestWithParam<bool> {
  protected:
    Storm() {
        // With a fixed zone tzset() changes nothing; the sanitizer does not see the C library's
        // lock.
        setenv("TZ", "UTC0", 1);
        fake::captureLog();
        fake::clearLog();
        fake::resetShell(fake::carryOut);
        fake::resetTime(1'709'802'302'007'000);
        configure();
    }
};

// Would catch (under the sanitizers) a race or a use after free, an id that two live records share,
// a catch that is never released, and a folder that is never packed.
TEST_P(Storm, EveryCatchEnds) {
    fake::holdSleeps(true);
    Counts reported = storm(GetParam());
    fake::holdSleeps(false);
    ASSERT_TRUE(test::eventually([] {
        return fake::commandCount("mkdir /data/persist_log/kavel30/") ==
                       fake::commandCount("rm -rf ") &&
               staged() == 0;
    }));

    EXPECT_EQ(fake::logCount("is Disable! value: 0"), reported[kDisabled]);
    EXPECT_EQ(fake::logCount("report of eventId 0x3 dropped"), reported[kMalformed]);
    EXPECT_EQ(fake::logCount("don't catchlog, just return"), reported[kNoLog]);
    // These lines mean that an entry of the table was lost to another record of the same id.
    EXPECT_EQ(fake::logCount("no event "), 0u);

    std::set<std::string> made;
    std::set<std::string> liveIds;  // those of the windowless catches, held until the storm is over
    size_t caught = 0;
    for (const std::string& command : fake::commands()) {
        const std::string folder = between(command, "mkdir /data/persist_log/kavel30/", "\n");
        EXPECT_TRUE(folder.empty() || made.insert(folder).second) << folder;
        const std::string id = between(command, ",eventID:", " ");
        if (id.empty()) continue;
        ++caught;
        EXPECT_EQ(made.count(between(command, ">> /data/persist_log/kavel30/", "/")), 1u)
                << command;
        if (GetParam()) continue;
        EXPECT_EQ(liveIds.count(id), 0u) << command;
        if (command.find("EventType:alone") != std::string::npos) liveIds.insert(id);
    }
    const size_t refused = fake::logCount("placeKavelEvent failed or event dumped");
    EXPECT_EQ(caught, reported[kCombined] + reported[kAlone] + reported[kAbnormal] - refused);
    EXPECT_GT(refused, 0u);
    // A refused record goes no further.
    EXPECT_EQ(fake::logCount("kavel event upload"), caught + reported[kNoLog]);
    EXPECT_GT(made.size(), reported[kAlone]);
    for (const std::string& folder : made) {
        const std::string path = "/data/persist_log/kavel30/" + folder;
        EXPECT_EQ(fake::commandCount("tar czf " + path + ".tar.gz"), 1u) << folder;
        EXPECT_EQ(fake::commandCount("rm -rf " + path), 1u) << folder;
    }
    fake::clearLog();
    handler().report({kNoLog, 0, 0, 0, ""});
    EXPECT_EQ(fake::logCount("[dravo_kavel showAllKavelEvents]:"), 31u);
}

// Would catch (under the sanitizers) a race between the catchers, the notes and the pack of a
// commercial build, an abnormal action without an archive, and technical catches that pile up.
// Runs last, because it leaves technical catches, which wait for an abnormal action.
TEST_P(Storm, CommercialCatchesEndOrAreKept) {
    base::SetProperty("persist.kavel.user_panic_for_debug", "true");
    Counts reported = storm(GetParam());
    base::SetProperty("persist.kavel.user_panic_for_debug", "");

    const size_t actions =
            reported[kAbnormal] -
            fake::logCount("[placeKavelEvent]: Event dumped since duplicate abnormal action") -
            fake::logCount(
                    "[kavelEventHandleThread]: Event dumped since duplicate abnormal action");
    const auto packed = [] { return fake::logCount("[dravo_kavel commercialLogPack]: rm -rf "); };
    ASSERT_TRUE(test::eventually([&] {
        return packed() >= actions && staged() <= TechnicalCatches::kMost;
    })) << packed()
        << " of " << actions << " packed, " << staged() << " staged" << problems();
    EXPECT_GT(actions, 0u);
    EXPECT_EQ(packed(), actions);
    EXPECT_EQ(fake::commandCount("tar czf "), actions);
    EXPECT_EQ(fake::logCount("no event "), 0u);
}

INSTANTIATE_TEST_SUITE_P(TimeMoves, Storm, testing::Bool());

}  // namespace
}  // namespace android::kavel
