#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <android-base/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/SystemClock.h>

#include "core/KavelRecvKeventFunc.h"
#include "core/KeventDecoder.h"
#include "tests/core/FakeUpperRooms.h"
#include "tests/core/Messages.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"

namespace android {

// Takes the place of libutils' clock.
static int64_t sElapsedMs;
int64_t elapsedRealtime() {
    return sElapsedMs;
}

namespace kavel {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;

constexpr char kLastDump[] = "sys.kavel.lastdumpstate.time";

using Pairs = CommonPlxServiceManager::Pairs;
using Lines = std::vector<std::string>;

/** What was logged without a tag since the last call: "I text", without the newline at its end. */
Lines takeLog() {
    constexpr char kLetters[] = "??VDIWEF";
    Lines lines;
    for (const fake::LogLine& line : fake::logLines()) {
        if (line.tag != program_invocation_short_name) continue;
        std::string text = kLetters[line.priority] + (" " + line.text);
        if (text.back() == '\n') text.pop_back();
        lines.push_back(text);
    }
    fake::clearLog();
    return lines;
}

bool receive(uint32_t type, const std::string& payload, const std::string& eventId = "e") {
    std::string bytes = test::packet(type, "t", eventId, payload);
    return KavelRecvKeventFunc(reinterpret_cast<kavel_kevent_packet*>(bytes.data()));
}

class KeventDecoding : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        fake::resetShell();
        fake::takePropertySets();
        fake::takeUploads();
        fake::takeIntakes();
        fake::setStatisticService(true);
        base::SetProperty(kLastDump, "");
        sElapsedMs = 1'000'000;
    }
};

// Would catch a packet without a handling that is handled, and a null packet that is touched.
TEST_F(KeventDecoding, OtherPackets) {
    EXPECT_FALSE(KavelRecvKeventFunc(nullptr));
    EXPECT_THAT(takeLog(), ElementsAre("I KavelRecvKeventFunc called",
                                       "I KavelRecvKeventFunc packet is null"));
    EXPECT_TRUE(receive(KEVENT_TYPE_LOG, "logmap{a:1}"));
    EXPECT_THAT(takeLog(),
                ElementsAre("I KavelRecvKeventFunc called",
                            "D KavelRecvKeventFunc: tag:t, event_id:e, data:logmap{a:1}"));
    for (const uint32_t type : {0U, 4U, 7U, 0xFFFFFFFFU}) {
        EXPECT_TRUE(receive(type, "event_id: 1"));
        EXPECT_THAT(takeLog(), ElementsAre("I KavelRecvKeventFunc called"));
    }
    EXPECT_THAT(fake::takeUploads(), IsEmpty());
    EXPECT_THAT(fake::takeIntakes(), IsEmpty());
}

// Would catch a payload that is split, cut or refused in another way than the kernel's side was
// written for.
TEST_F(KeventDecoding, StatisticPayloads) {
    const std::string k511(511, 'k');
    const std::string k512(512, 'k');
    const auto push = [](const std::string& key, const std::string& value) {
        return "I getPlxMsgFromKevent push plxdata logmap key:" + key + " value:" + value;
    };
    const auto refusal = [](const std::string& what) {
        return Lines{"W getPlxMsgFromKevent parse error, " + what, "W getPlxMsgFromKevent failed"};
    };
    const auto joined = [](Lines lines, const Lines& more) {
        lines.insert(lines.end(), more.begin(), more.end());
        return lines;
    };
    struct Case {
        std::string payload;
        Pairs data;     ///< of the upload; none: there is none
        Lines refused;  ///< else why
    };
    const Case cases[] = {
            {"logmap{a:1;b:2}", {{"a", "1"}, {"b", "2"}}, {}},
            {"logmap{t:12:30}", {{"t", "12:30"}}, {}},
            {"logmap{k:v w}", {{"k", "v"}}, {}},
            {"logmap{a: \t 1;a:2;a:1}", {{"a", "1"}, {"a", "2"}, {"a", "1"}}, {}},
            {"logmap{a:1", {{"a", "1"}}, {}},
            {"logmap{a:1}b:2}", {{"a", "1"}}, {}},
            {"logmap{ a b :1}", {{" a b ", "1"}}, {}},
            {"logmap{a::}", {{"a", ":"}}, {}},
            {"logmap{" + k511 + ":1}", {{k511, "1"}}, {}},
            {"logmap{a:" + k511 + "}", {{"a", k511}}, {}},
            {"logmap{a:1;}", {}, joined({push("a", "1")}, refusal("param:"))},
            {"logmap{;a:1}", {}, refusal("param:")},
            {"logmap{a:1;;b:2}", {}, joined({push("a", "1")}, refusal("param:"))},
            {"logmap{a}", {}, refusal("param:a")},
            {"logmap{a:}", {}, refusal("param:a:")},
            {"logmap{a: \t}", {}, refusal("param:a: \t")},
            {"logmap{:1}", {}, refusal("param::1")},
            {"logmap{" + k512 + ":1}", {}, refusal("param:" + k512 + ":1")},
            {"logmap{a:" + k512 + "}", {}, refusal("param:a:" + k512)},
            {"logmap{}", {}, refusal("data:logmap{}")},
            {"logmap{", {}, refusal("data:logmap{")},
            {" logmap{a:1}", {}, refusal("data: logmap{a:1}")},
            {"Logmap{a:1}", {}, refusal("data:Logmap{a:1}")},
            {"", {}, refusal("data:")},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(receive(KEVENT_TYPE_STATISTIC, c.payload));
        Lines lines = {"I KavelRecvKeventFunc called", "I getPlxMsgFromKevent"};
        for (const auto& [key, value] : c.data) lines.push_back(push(key, value));
        EXPECT_THAT(takeLog(), ElementsAreArray(joined(lines, c.refused)));
        const std::vector<fake::Upload> uploads = fake::takeUploads();
        ASSERT_EQ(uploads.size(), c.data.empty() ? 0U : 1U) << c.payload;
        if (uploads.empty()) continue;
        EXPECT_EQ(uploads[0].tag, "t");
        EXPECT_EQ(uploads[0].eventId, "e");
        EXPECT_EQ(uploads[0].data, c.data);
    }
    fake::setStatisticService(false);
    receive(KEVENT_TYPE_STATISTIC, "logmap{a:1}");
    EXPECT_EQ(takeLog().back(), "W sendPlxMsg, manager is null");
}

// Would catch an event with other fields than the kernel wrote, or one out of a malformed text.
TEST_F(KeventDecoding, EventPayloads) {
    const std::string x511(511, 'x');
    const std::string x512(512, 'x');
    struct Case {
        std::string payload;
        std::vector<fake::Intake> intakes;  ///< at most one
        Lines tail;                         ///< the last lines
    };
    const auto got = [](const std::string& key, const std::string& value) {
        return "I dravo_kavel handleKernelSendEvent got data, key:" + key + " value:" + value;
    };
    const auto refusal = [](int conversions, const std::string& token) {
        return Lines{
                "I dravo_kavel kernelSendKavelEvent key-value ret = " + std::to_string(conversions),
                "W dravo_kavel handleKernelSendEvent parse error, param:" + token};
    };
    const Case cases[] = {
            {"event_id: 257.loginfo: 3.pid: 1234.extrainfo: boot",
             {{257, 3, 1234, 0, "boot"}},
             {got("extrainfo:", "boot")}},
            {"event_id: 257", {{257, 0, 0, 0, ""}}, {got("event_id:", "257")}},
            {"extrainfo: a.event_id: 5", {{0, 0, 0, 0, "a"}}, {got("extrainfo:", "a")}},
            {"extrainfo: com.example.app", {{0, 0, 0, 0, "com"}}, {got("extrainfo:", "com")}},
            {"foo: 1.event_id: 2",
             {{2, 0, 0, 0, ""}},
             {got("foo:", "1"),
              "I dravo_kavel handleKernelSendEvent got unknown key, key:foo: value:1",
              "I dravo_kavel kernelSendKavelEvent key-value ret = 2", got("event_id:", "2")}},
            {"pid: 1.pid: 2", {{0, 0, 2, 0, ""}}, {got("pid:", "2")}},
            {"\tpid: \n 7 more words", {{0, 0, 7, 0, ""}}, {got("pid:", "7")}},
            {"pid: +7x.loginfo: -2147483648.event_id: 2147483647",
             {{2147483647, std::numeric_limits<int>::min(), 7, 0, ""}},
             {}},
            {"extrainfo: " + x511, {{0, 0, 0, 0, x511}}, {}},
            {"Event_id: 1", {{0, 0, 0, 0, ""}}, {}},
            {"event_id:257", {}, refusal(1, "event_id:257")},
            {"event_id: 257.", {}, refusal(-1, "")},
            {"event_id: 1. .pid: 1", {}, refusal(-1, " ")},
            {"", {}, refusal(-1, "")},
            {"event_id: 1.extrainfo:", {}, refusal(1, "extrainfo:")},
            {"event_id: x1", {}, refusal(2, "event_id: x1")},
            {"pid: 2147483648", {}, refusal(2, "pid: 2147483648")},
            {"loginfo: -2147483649", {}, refusal(2, "loginfo: -2147483649")},
            {"pid: 99999999999999999999", {}, refusal(2, "pid: 99999999999999999999")},
            {"pid: +-1", {}, refusal(2, "pid: +-1")},
            {"extrainfo: " + x512, {}, refusal(2, "extrainfo: " + x512)},
            {x512 + " 1.event_id: 1", {}, refusal(2, x512 + " 1")},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(receive(KEVENT_TYPE_EVENT, c.payload));
        const Lines log = takeLog();
        const Lines head = {"I KavelRecvKeventFunc called",
                            "I dravo_kavel handleKernelSendKavelEvent",
                            "I dravo_kavel handleKernelSendEvent got message:" + c.payload};
        ASSERT_GE(log.size(), head.size() + c.tail.size()) << c.payload;
        EXPECT_TRUE(std::equal(head.begin(), head.end(), log.begin())) << c.payload;
        EXPECT_THAT(Lines(log.end() - static_cast<ptrdiff_t>(c.tail.size()), log.end()),
                    ElementsAreArray(c.tail));
        const std::vector<fake::Intake> intakes = fake::takeIntakes();
        ASSERT_EQ(intakes.size(), c.intakes.size()) << c.payload;
        if (intakes.empty()) continue;
        const auto fields = [](const fake::Intake& intake) {
            return std::tie(intake.eventId, intake.logInfo, intake.pid, intake.uid,
                            intake.extraInfo);
        };
        EXPECT_EQ(fields(intakes[0]), fields(c.intakes[0])) << c.payload;
    }
}

constexpr char kPowerKey[] = "logmap{logType:black_screen_monitor;catchlog:true;error_id:7}";
constexpr char kDumpCommand[] =
        "echo 'logType:black_screen_monitor;catchlog:true;error_id:7' >> "
        "/data/persist_log/kavel/plx.txt";

// Would catch a dump that is not started, started in another order, or kept from its upload.
TEST_F(KeventDecoding, PowerKeyStatisticStartsADump) {
    fake::resetShell([](const std::string&) {
        EXPECT_THAT(fake::takePropertySets(), IsEmpty());  // the text is saved first
        EXPECT_EQ(base::GetProperty(kLastDump, ""), "1000000");
        EXPECT_THAT(fake::takeUploads(), IsEmpty());
        return 0;
    });
    receive(KEVENT_TYPE_STATISTIC, kPowerKey, "Kavel");
    EXPECT_THAT(fake::commands(), ElementsAre(kDumpCommand));
    EXPECT_THAT(fake::takePropertySets(),
                ElementsAre(Pair("sys.kavel.pwkey_errorid", "7"), Pair("sys.kavel.log_type", "8"),
                            Pair("ctl.restart", "dumpstate_kavel")));
    EXPECT_EQ(fake::takeUploads().size(), 1U);
    const Lines log = takeLog();
    EXPECT_THAT(
            Lines(log.end() - 4, log.end()),
            ElementsAre("I processBeforePlxMsgSend kavel pwkey catchlog:true",
                        "I savePlxMessageToLogPath message:logType:black_screen_monitor;"
                        "catchlog:true;error_id:7 locPath:/data/persist_log/kavel/plx.txt",
                        "I get_error_id error_id:7",
                        "I dravo_kavel, start dumpstate_kavel for catch pwrkey log, errorid:7"));
}

// Would catch a dump for a statistic that does not ask for one, or a condition that is too narrow.
TEST_F(KeventDecoding, WhoMayAskForADump) {
    struct Case {
        const char* eventId;
        const char* logmap;
        bool dumps;
        const char* says;  ///< of catchlog, if anything
    };
    const Case cases[] = {
            {"Kavel", "logType:bright_screen_monitor;catchlog:true", true, "true"},
            {"Kavel", "logType:x;catchlog:false;catchlog:true;logType:black_screen_monitor", true,
             "true"},
            {"Kavel", "logType:black_screen_monitor;catchlog:false", false, "false"},
            {"Kavel", "logType:black_screen_monitor;catchlog:True", false, "false"},
            {"Kavel", "logType:black_screen_monitor", false, "false"},
            {"Kavel", "logType:black_screen;catchlog:true", false, nullptr},
            {"Kavel", "LogType:black_screen_monitor;catchlog:true", false, nullptr},
            {"kavel", "logType:black_screen_monitor;catchlog:true", false, nullptr},
            {"Kavel2", "logType:black_screen_monitor;catchlog:true", false, nullptr},
    };
    for (const Case& c : cases) {
        SetUp();
        receive(KEVENT_TYPE_STATISTIC, "logmap{" + std::string(c.logmap) + "}", c.eventId);
        EXPECT_EQ(fake::commands().size(), c.dumps ? 1U : 0U) << c.logmap;
        const auto sets = fake::takePropertySets();
        ASSERT_EQ(sets.size(), c.dumps ? 3U : 0U) << c.logmap;
        EXPECT_TRUE(sets.empty() || sets[0].second.empty());  // no error id
        EXPECT_EQ(fake::takeUploads().size(), 1U) << c.logmap;
        EXPECT_EQ(fake::logCount("pwkey catchlog:"), c.says == nullptr ? 0U : 1U) << c.logmap;
        if (c.says != nullptr) {
            EXPECT_EQ(fake::logCount(std::string("pwkey catchlog:") + c.says + "\n"), 1U);
        }
    }
}

// Would catch more than one dump in 150 s, whatever stands in the property, and a lost upload.
TEST_F(KeventDecoding, DumpRateLimit) {
    const std::tuple<std::string, int64_t, bool> cases[] = {
            {"", 1, true},
            {"0", 1, true},
            {"junk", 1, true},
            {"-1", 1, true},
            {"1000000", 1'000'000, false},
            {"1000000", 1'150'000, false},
            {"1000000", 1'150'001, true},
            {"1", 150'001, false},
            {"1", 150'002, true},
            {"5", 3, false},
            {"18446744073709551615", 1'000'000, false},
            {"18446744073709401615", 1'000'000, false},
            {"18446744073709551616", 1'000'000, true},
    };
    for (const auto& [last, now, dumps] : cases) {
        SetUp();
        base::SetProperty(kLastDump, last);
        sElapsedMs = now;
        receive(KEVENT_TYPE_STATISTIC, kPowerKey, "Kavel");
        EXPECT_EQ(fake::commands().size(), dumps ? 1U : 0U) << last << " " << now;
        EXPECT_EQ(fake::takePropertySets().size(), dumps ? 3U : 0U);
        EXPECT_EQ(base::GetProperty(kLastDump, ""), dumps ? std::to_string(now) : last);
        EXPECT_EQ(fake::logCount("dravo_kavel,kavel dump too frequently. last dump time is " +
                                 last + ", currentTime is " + std::to_string(now)),
                  dumps ? 0U : 1U);
        EXPECT_EQ(fake::takeUploads().size(), 1U);
    }
}

// Would catch a text that leaves its quotes, or that echo changes.
TEST_F(KeventDecoding, HostileTextStaysInItsQuotes) {
    const std::string start = "logType:black_screen_monitor;catchlog:true;x:";
    for (const char* const hostile : {"'$(touch /tmp/kavel_canary)'", "`id`", "\\c", "a\\nb\\0101",
                                      "';x:1|id;y:'", "\"$HOME\"", "*", "!x", "a\nb:2"}) {
        SetUp();
        receive(KEVENT_TYPE_STATISTIC, "logmap{" + start + hostile + "}", "Kavel");
        ASSERT_EQ(fake::commands().size(), 1U) << hostile;
        std::string command = fake::commands()[0];
        const std::string redirection = " >> /data/persist_log/kavel/plx.txt";
        ASSERT_EQ(command.substr(command.size() - redirection.size()), redirection);
        command.resize(command.size() - redirection.size());
        std::string echoed;
        FILE* const pipe = popen(command.c_str(), "re");
        for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) echoed += static_cast<char>(c);
        EXPECT_EQ(pclose(pipe), 0);
        EXPECT_EQ(echoed, start + hostile + "\n");
    }
}

// Would catch text that is read on into the next field, and an abort that does not say why.
TEST_F(KeventDecoding, FieldWithoutEndAborts) {
    const auto receiveWith = [](size_t tagLength, size_t eventIdLength) {
        std::string bytes = test::packet(KEVENT_TYPE_STATISTIC, std::string(tagLength, 't'),
                                         std::string(eventIdLength, 'e'), "logmap{a:1}");
        KavelRecvKeventFunc(reinterpret_cast<kavel_kevent_packet*>(bytes.data()));
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(receiveWith(128, 1), "kernel packet: tag has no end within its 128 bytes");
    EXPECT_DEATH(receiveWith(127, 128), "kernel packet: event_id has no end within its 128 bytes");
    receiveWith(127, 127);
    EXPECT_EQ(fake::takeUploads().at(0).tag, std::string(127, 't'));
}

}  // namespace
}  // namespace kavel
}  // namespace android
