#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <android/log.h>
#include <gtest/gtest.h>

#include "dig/dig.h"
#include "tests/dig/StdoutText.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kOrdinary = "I kavel_socket nowEvent is not KeyEvent";
constexpr const char* kFound = "D kavel_socket found";

std::string freeze(const std::string& event0, const std::string& event1) {
    return "I kavel_socket Kavel found freezen event0 " + event0 + " event1 " + event1 + " ";
}

Lines takeLines() {
    Lines lines;
    for (const fake::LogLine& line : fake::logLines()) {
        const char* const priority = line.priority == ANDROID_LOG_DEBUG ? "D " : "I ";
        lines.push_back(priority + line.tag + " " + line.text);
    }
    fake::clearLog();
    return lines;
}

void send(std::string record) {
    sendRawEvent(record.data());
}

class Matcher : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        digInit();
    }
    void TearDown() override { digExit(); }

    const test::StdoutText mStdout;
};

// Would catch a wrong pattern, a limit that is off by one and a line that reads otherwise.
TEST_F(Matcher, LogsWhatRecordsMean) {
    const std::string corrupt = "I kavel_socket exception in stoll occured, corrupted raw data.";
    const std::string few = "I kavel_socket recv_content size < 3, corrupted raw data.";
    struct {
        Lines records;
        Lines lines;
    } const rows[] = {
            {{"4298113025:open:1000"}, {}},
            {{"4298113026:a:1000", "4298113025:b:5000"},
             {kOrdinary, kFound, freeze("100300001", "100300002")}},
            {{"4298113026:a:1000", "4298113027:b:6999"},
             {kOrdinary, kFound, freeze("100300003", "100300002")}},
            {{"4298113026:a:1000", "4298113025:b:7000"}, {kOrdinary}},
            {{"4298113030:x:1", "4298113030:x:1"}, {kFound, freeze("100300006", "100300006")}},
            // What comes first counts, not what is stamped first.
            {{"4298113026:a:99999", "4298113025:b:5"},
             {kOrdinary, kFound, freeze("100300001", "100300002")}},
            {{"4298113025:b:5", "4298113026:a:6"}, {kOrdinary}},
            // Times whose difference fits no integer are as far apart as can be.
            {{"4298113026:a:-9223372036854775808", "4298113025:b:9223372036854775807"},
             {kOrdinary}},
            {{"4298113026:a:9223372036854775807", "4298113025:b:-9223372036854775808"},
             {kOrdinary, kFound, freeze("100300001", "100300002")}},
            {{"abc:def:ghi"}, {corrupt}},
            {{"1:2"}, {few}},
            {{""}, {few}},
    };
    for (const auto& row : rows) {
        for (const std::string& record : row.records) send(record);
        EXPECT_EQ(takeLines(), row.lines) << row.records.back();
        digExit();
        digInit();
    }
    sendRawEvent(nullptr);
    EXPECT_EQ(takeLines(), Lines{"I kavel_socket Kavel sendRawEvent has Null Buff"});
}

// Would catch a copy that goes without its line, and live events that outlast the patterns.
TEST(EventLine, IsPrintedForEachCopy) {
    const test::StdoutText out;
    fake::captureLog();
    digInit();
    const std::string before = out.text();
    send("-12:a:34");
    digExit();
    // A vector may destroy its elements in any order.
    std::istringstream text(out.text().substr(before.size()));
    std::multiset<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.insert(line);
    EXPECT_EQ(lines, (std::multiset<std::string>{"zuvek id -12  time 34", "zuvek id -12  time 34",
                                                 "zuvek id 4298113025  time 0",
                                                 "zuvek id 4298113027  time 0",
                                                 "zuvek id 4298113030  time 0"}));
}

}  // namespace
}  // namespace android::kavel
