#include "handler/StatisticUpload.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/handler/TestEvent.h"

namespace android {
namespace {

/** Takes the place of the maker's client: one text per statistic. */
struct FakeClient : CommonPlxServiceManager {
    int sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data) override {
        std::string text = tag + '/' + eventId;
        for (const auto& [key, value] : data) text += ' ' + key + '=' + value;
        sent.push_back(text);
        return -5;
    }
    std::vector<std::string> sent;
};

FakeClient client;
bool hasClient = true;

}  // namespace

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    return hasClient ? &client : nullptr;
}

namespace kavel {
namespace {

// Would catch a pair that is missing, out of order or sent empty; a statistic that is sent though
// it repeats another or nobody named its event; a refusal under another's line.
TEST(StatisticUpload, SendsOrRefusesByTheEvent) {
    constexpr const char* kUnknown = "[dravo_statistic_common]: Unknown eventID found.\n";
    constexpr const char* kRepeat = "[dravo_statistic_common]: don't upload repeat";
    constexpr const char* kNoClient =
            "[dravo_statistic_common]: sendToCommonPlx manager is null.\n";
    const std::string time = " timestamp=2024-03-07-09-05-02-007";
    constexpr long kRecovery = 0x10000001;
    struct {
        long eventId;
        int pid, uid;
        KavelExtraInfo extra;
        bool hasClient;
        std::string sent;
        const char* refusal;  // null where the statistic is sent
    } const rows[] = {
            {0x3, 1234, 0, {}, true, "logType=anr pid=1234" + time, nullptr},
            {0x3,
             0,
             -2,
             {"", "1.2", ""},
             true,
             "logType=anr uid=-2" + time + " packageVersion=1.2",
             nullptr},
            {0x3,
             1,
             2,
             {"a", "b", "end"},
             true,
             "logType=anr pid=1 uid=2" + time + " packageName=a packageVersion=b eventType=end",
             nullptr},
            {0x4, 0, 0, {}, true, "logType=" + time, nullptr},
            {kRecovery,
             0,
             0,
             {"", "", "dialogs"},
             true,
             "logType=slow" + time + " eventType=dialogs",
             nullptr},
            {kRecovery, 0, 0, {"", "", "dialog"}, true, "", kRepeat},
            {kRecovery, 0, 0, {"", "", "closeUser"}, true, "", kRepeat},
            {kRecovery, 0, 0, {"", "", "end"}, false, "", kRepeat},
            {0x5, 1, 2, {}, true, "", kUnknown},
            {0x5, 1, 2, {}, false, "", kUnknown},
            {0x3, 1, 2, {}, false, "", kNoClient},
    };
    setenv("TZ", "UTC0", 1);
    fake::captureLog();
    EventParameters parameters;
    parameters.setEventIdMap(0, 0x3, "anr");
    parameters.setEventIdMap(0, kRecovery, "slow");
    parameters.eventName(0x4);  // an earlier look-up leaves an empty name
    for (const auto& row : rows) {
        fake::clearLog();
        client.sent.clear();
        hasClient = row.hasClient;
        const KavelTimestamp now = fake::event(0)->timestamp;
        const KavelEvent event(row.eventId, &now, 0, row.pid, row.uid, &row.extra);
        EXPECT_EQ(dravo_statistic_common(parameters, event), row.refusal == nullptr ? 0 : -1);
        if (row.refusal == nullptr) {
            EXPECT_EQ(client.sent, std::vector<std::string>{"CriticalLog/Kavel " + row.sent});
            EXPECT_TRUE(fake::logLines().empty());
        } else {
            EXPECT_TRUE(client.sent.empty());
            ASSERT_EQ(fake::logLines().size(), 1u);
            EXPECT_EQ(fake::logLines()[0].text, row.refusal);
        }
    }
    hasClient = true;
    EXPECT_FALSE(parameters.findEventName(0x5)) << "left behind by the look-up";
}

}  // namespace
}  // namespace kavel
}  // namespace android
