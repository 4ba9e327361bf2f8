// Would catch an empty token, several separators that count as one long separator, a number that is
// read as another one or wrongly refused or accepted, a wrong pattern, a limit that is off by one,
// an age that overflows, a log line with another text, a copy of an event without its line, and
// live events that outlast the patterns or are not counted.

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dig/DigStatus.h"
#include "dig/RawRecord.h"
#include "dig/dig.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

std::string parse(const char* text) {
    const RawRecord record = parseRawRecord(text);
    const char* const faults[] = {"", "too few fields ", "not a number "};
    return faults[static_cast<int>(record.fault)] + std::to_string(record.id) + "," + record.name +
           "," + std::to_string(record.time);
}

TEST(RawRecord, Parses) {
    const char* const few = "too few fields 0,,0";
    const char* const notANumber = "not a number 0,,0";
    struct {
        const char* text;
        const char* parsed;
    } const rows[] = {
            {"1:a:2:3:x", "1,a,2"},
            {":1::a:2", "1,a,2"},
            {"12abc:a: \t-7 8\n", "12,a,-7"},
            {"+5: a :0x10", "5, a ,0"},
            {"9223372036854775807:a:-9223372036854775808",
             "9223372036854775807,a,-9223372036854775808"},
            {"", few},
            {"1::2", few},
            {"a:b:", few},
            {"1:a:-", notANumber},
            {" :a:1", notANumber},
            {"9223372036854775808:a:1", notANumber},
            {"1:a:-9223372036854775809", notANumber},
    };
    for (const auto& row : rows) EXPECT_EQ(parse(row.text), row.parsed) << row.text;
}

/** What the last of @p records, alone in the log, leaves there. */
Lines logOfLast(const Lines& records) {
    digInit();
    for (std::string record : records) {
        fake::clearLog();
        sendRawEvent(record.data());
    }
    digExit();
    return fake::takeLog();
}

Lines freeze(const std::string& event0, const std::string& event1) {
    return {"D kavel_socket: found", "I kavel_socket: Kavel found freezen event0 100" + event0 +
                                             " event1 100" + event1 + " "};
}

TEST(Matcher, LogsWhatTheLastRecordMeans) {
    const Lines ordinary = {"I kavel_socket: nowEvent is not KeyEvent"};
    struct {
        Lines records;
        Lines log;
    } const rows[] = {
            {{"4298113026:a:1000"}, ordinary},
            {{"4298113025:open:1000"}, {}},
            {{"4298113026:a:1000", "4298113025:b:5000"}, freeze("300001", "300002")},
            {{"4298113026:a:1000", "4298113027:b:6999"}, freeze("300003", "300002")},
            {{"4298113026:a:1000", "4298113025:b:7000"}, {}},
            {{"4298113030:x:1", "4298113030:x:1"}, freeze("300006", "300006")},
            // The order of arrival counts, not the order of the times.
            {{"4298113026:a:99999", "4298113025:b:5"}, freeze("300001", "300002")},
            {{"4298113025:b:5", "4298113026:a:6"}, ordinary},
            {{"4298113026:a:-9223372036854775808", "4298113025:b:9223372036854775807"}, {}},
            {{"4298113026:a:9223372036854775807", "4298113025:b:-9223372036854775808"},
             freeze("300001", "300002")},
            {{"a:b:c"}, {"I kavel_socket: exception in stoll occured, corrupted raw data."}},
            {{"1:2"}, {"I kavel_socket: recv_content size < 3, corrupted raw data."}},
    };
    fake::captureLog();
    for (const auto& row : rows) EXPECT_EQ(logOfLast(row.records), row.log) << row.records.back();
    sendRawEvent(nullptr);
    EXPECT_EQ(fake::takeLog(), Lines{"I kavel_socket: Kavel sendRawEvent has Null Buff"});
}

TEST(Matcher, CountsItsLiveEventsAndWhatItFinds) {
    const uint64_t freezes = digStatus().freezes;
    digInit();
    std::string record = "4298113025:open:1000";
    sendRawEvent(record.data());
    EXPECT_EQ(digStatus().liveEvents, 1U);
    record = "4298113026:key:1001";
    sendRawEvent(record.data());
    sendRawEvent(record.data());
    EXPECT_EQ(digStatus().freezes, freezes);
    record = "4298113025:close:1002";
    sendRawEvent(record.data());
    EXPECT_EQ(digStatus().freezes, freezes + 1);
    digExit();
    EXPECT_EQ(digStatus().liveEvents, 0U);
}

TEST(Matcher, PrintsALineForEachCopyOfAnEvent) {
    digInit();
    testing::internal::CaptureStdout();
    std::string record = "-9223372036854775808:a:34";
    sendRawEvent(record.data());
    digExit();
    std::istringstream text(testing::internal::GetCapturedStdout());
    std::multiset<std::string> lines;  // a vector may destroy its elements in any order
    for (std::string line; std::getline(text, line);) lines.insert(line);
    const std::string copy = "zuvek id -9223372036854775808  time 34";
    EXPECT_EQ(lines, (std::multiset<std::string>{copy, copy, "zuvek id 4298113025  time 0",
                                                 "zuvek id 4298113027  time 0",
                                                 "zuvek id 4298113030  time 0"}));
}

}  // namespace
}  // namespace android::kavel
