// The daemon's status: before the first report, in a window, after the archive, in a storm, and for
// users who may not ask.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "event/IKavelBinder.h"
#include "platform/ServiceDump.h"
#include "tests/sandbox/PhoneSession.h"
#include "tools/JsonLine.h"

namespace android::kavel::test {
namespace {

sp<IBinder> daemon() {
    return defaultServiceManager()->checkService(String16(KAVEL_BINDER_SERVICE_NAME));
}

Json::Value ask() {
    const ServiceDump dump = dumpService(daemon(), {"--json"}, std::chrono::minutes(2));
    EXPECT_EQ(dump.status, NO_ERROR);
    return tools::parseJsonObject(dump.text).value_or(Json::Value());
}

std::string why(const char* event) {
    return run({"kavelctl", "why", event}).output;
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Would catch a request that builds the handler, a fate that does not match the report, and a text
// that differs from the JSON form. Must be the first case: the phone has had no report yet.
TEST(StatusTest, FollowsAReportFromBeforeItToItsArchive) {
    ASSERT_TRUE(eventually([] { return daemon() != nullptr; }));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"dumpsys", "KavelBinderService"}, {"kavelctl", "status"}}) {
        const Result answer = run(command);
        EXPECT_EQ(answer.status, 0);
        EXPECT_TRUE(has(answer.output, "\nhandler: not built")) << answer.output;
    }
    EXPECT_EQ(run({"kavelctl", "why"}).status, 1);
    EXPECT_EQ(ask()["pools"].size(), 0U);

    // In this phone 40 s: with a sanitizer on a busy machine each question takes seconds.
    configureEvent("0x1", {"--name", "asked", "--window", "800000"});
    sendEvent("0x1", {"--log-info", "prop", "--extra", "com.a"});
    sendEvent("0x777", {});
    ASSERT_TRUE(eventually([] {
        const Json::Value first = ask()["catches"][0];
        return first["phase"] == "window" && first["missing"] == "0x0";
    }));
    const Json::Value during = ask();
    EXPECT_EQ(during["handler"], "ready");
    EXPECT_EQ(during["eventTypes"][0]["name"], "asked");
    EXPECT_GT(during["catches"][0]["leftMs"].asInt64(), 20000);
    EXPECT_LE(during["catches"][0]["leftMs"].asInt64(), 800000);
    EXPECT_TRUE(has(why("0x1"), "(com.a): its logs are being collected; window, ")) << why("0x1");
    EXPECT_TRUE(has(why("0x777"), "its event type is not enabled")) << why("0x777");
    sendEvent("0x1", {"--log-info", "prop", "--extra", "com.b"});
    EXPECT_TRUE(eventually([] {
        return has(why("0x1"), "(com.b): its logs are being collected; window, ");
    })) << why("0x1");
    EXPECT_EQ(run({"sh", "-c",
                   "kavelctl why --json | jq -c '[.format, .reports[0].name, (.reports[0].leftMs > "
                   "0)]'"})
                      .output,
              "[1,\"asked\",true]\n");
    configureEvent("0x777", {"--name", "late"});
    EXPECT_TRUE(has(why("late"), "; it is enabled by now\n")) << why("late");
    EXPECT_TRUE(has(run({"sh", "-c", "kavelctl status --json | jq .counts.disabled"}).output, "1"));

    EXPECT_EQ(awaitArchive("kavel_asked_").broken, "");
    ASSERT_TRUE(eventually([] { return ask()["catchCount"] == 0; }));
    EXPECT_EQ(ask()["counts"]["packed"], ask()["counts"]["caught"]);
    EXPECT_TRUE(has(why("0x1"), archives("kavel_asked_").front())) << why("0x1");
}

// Would catch an answer to a user who may not ask, and a refused argument of a bug report.
TEST(StatusTest, AnswersOnlyTheUsersOfTheShell) {
    ASSERT_TRUE(daemonIsUp());
    const auto as = [](const char* user) {
        return run({"setpriv", "--reuid", user, "--clear-groups", "dumpsys", "KavelBinderService",
                    "-a"});
    };
    EXPECT_TRUE(has(as("1000").output, "format: 1\n")) << as("1000").output;
    EXPECT_TRUE(has(as("2000").output, "format: 1\n")) << as("2000").output;
    const std::string refused = as("10001").output;
    EXPECT_EQ(refused.rfind("Permission Denial: can't dump KavelBinderService from pid=", 0), 0U)
            << refused;
    EXPECT_FALSE(has(refused, "format"));
}

/** Nanoseconds for which each thread was ready to run but had no processor. */
using Waits = std::map<std::string, int64_t>;

Waits waitsOf(const std::string& tasks) {
    Waits waits;
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator(tasks, error)) {
        int64_t ran = 0;
        std::ifstream(task.path() / "schedstat") >> ran >> waits[task.path()];
    }
    return waits;
}

/** Of the thread that waited longest: less than the time by which other programs delay an answer.
 */
std::chrono::nanoseconds longestWait(const Waits& before, const Waits& after) {
    int64_t longest = 0;
    for (const auto& [task, wait] : after) {
        const auto known = before.find(task);
        longest = std::max(longest, wait - (known == before.end() ? 0 : known->second));
    }
    return std::chrono::nanoseconds(longest);
}

// Would catch an answer that waits for the reports, and a report that is counted twice or not at
// all.
TEST(StatusInAStormTest, AnswersWithinASecond) {
    constexpr int kReports = 10'000;  // more if there are few answers meanwhile
    constexpr int kAnswers = 20;
    ASSERT_TRUE(daemonIsUp());
    configureEvent("0x1", {"--name", "storm", "--window", "80000"});
    configureEvent("0x402", {"--name", "without"});
    configureEvent("0xF01", {"--name", "action"});

    std::atomic<bool> isOver{false};
    std::atomic<int> tried{0};
    std::map<int64_t, int> sent;  // by event type
    std::atomic<int> answers{0};
    std::thread storm([&] {
        constexpr int64_t kTypes[] = {0x402, 0x777, 0xF01, 0x402};
        const sp<IBinder> service = daemon();
        for (int i = 0; i < kReports || answers < kAnswers;) {
            tried = i + 1;
            const int64_t type = i % 100 == 0 ? 0x1 : kTypes[i % 4];
            Parcel report;
            report.writeInterfaceToken(IKavelBinder::descriptor);
            report.writeInt64(type);
            report.writeInt64(0);
            report.writeInt64(0x80000);
            report.writeInt32(i);
            report.writeInt32(0);
            report.writeString16(String16("com.storm"));
            const status_t status = service->transact(IKavelBinder::SEND_FRAMEWORK_EVENT, report,
                                                      nullptr, IBinder::FLAG_ONEWAY);
            if (status == NO_ERROR) {
                ++sent[type];
                ++i;
            } else {  // the daemon's queue is full
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        }
        isOver = true;
    });
    std::vector<std::chrono::nanoseconds> times;
    const std::string daemonTasks = "/proc/" + std::to_string(daemonPid()) + "/task";
    const auto counted = [&] {
        const Waits daemonBefore = waitsOf(daemonTasks);
        const Waits ownBefore = waitsOf("/proc/self/task");
        const auto start = std::chrono::steady_clock::now();
        const Json::Value status = ask();
        const auto took = std::chrono::steady_clock::now() - start;
        times.push_back(took - longestWait(daemonBefore, waitsOf(daemonTasks)) -
                        longestWait(ownBefore, waitsOf("/proc/self/task")));
        ++answers;
        return status["counts"]["frameworkReports"].asInt();
    };
    while (!isOver) {
        const int count = counted();
        EXPECT_LE(count, tried);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    storm.join();
    // Of the answers in the storm: the machine can stop anything for a second now and then.
    const auto middle = times.begin() + static_cast<long>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(*middle).count();
    printf("%zu answers, one half within %lld ms\n", times.size(), static_cast<long long>(ms));
    EXPECT_LT(*middle, std::chrono::seconds(1)) << "the wait for a busy processor does not count";
    // A report counts when it comes, and again when it is known what becomes of it.
    EXPECT_TRUE(eventually([&] {
        const Json::Value counts = ask()["counts"];
        return counts["frameworkReports"] == tried.load() && counts["noLogs"] == sent[0x402] &&
               counts["disabled"] == sent[0x777] &&
               counts["caught"].asInt() + counts["duplicate"].asInt() == sent[0x1] + sent[0xF01];
    })) << ask()["counts"].toStyledString();
    EXPECT_TRUE(eventually([] { return ask()["catchCount"] == 0; }));
}

}  // namespace
}  // namespace android::kavel::test
