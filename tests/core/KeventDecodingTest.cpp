// Would catch a payload that is split, cut or refused in another way than the kernel's side
// expects, a type that is handled although it has no handling, a dump that no statistic asks for,
// more than one dump in 150 s for any value of the property, the later of two error ids, a text
// that leaves its quotes or that echo changes, a text that is read on into the next field, a null
// packet that is used, and a crash on a device without data collection.

#include <cerrno>
#include <cstdio>
#include <string>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/SystemClock.h>

#include "core/KavelRecvKeventFunc.h"
#include "platform/Log.h"
#include "tests/core/FakeHandler.h"
#include "tests/core/Messages.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/Script.h"

namespace android {

// Takes the place of libutils' clock.
static int64_t sElapsedMs;
int64_t elapsedRealtime() {
    return sElapsedMs;
}

namespace kavel {
namespace {

constexpr char kLastDump[] = "sys.kavel.lastdumpstate.time";

bool receive(uint32_t type, const std::string& payload, const std::string& eventId = "e") {
    std::string bytes = test::packet(type, "t", eventId, payload);
    return KavelRecvKeventFunc(reinterpret_cast<kavel_kevent_packet*>(bytes.data()));
}

class KeventDecoding : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        KavelEventHandler::getInstance();  // logs when the first report builds it
        fake::clearLog();
        fake::resetShell([](const std::string& command) {
            EXPECT_THAT(fake::takePropertySets(), testing::IsEmpty());  // the text is saved first
            EXPECT_THAT(fake::takeUploads(), testing::IsEmpty());
            EXPECT_EQ(base::GetProperty(kLastDump, ""), std::to_string(sElapsedMs));
            KAVEL_LOGI(KAVEL_NO_TAG, "$ %s", command.c_str());
            return 0;
        });
        fake::takePropertySets();
        fake::takeUploads();
        fake::takeReports();
        fake::setStatisticService(true);
        base::SetProperty(kLastDump, "");
        sElapsedMs = 1'000'000;
    }
};

/** Receives the packet "> TYPE EVENT PAYLOAD", or ">> ..." to see the log too. What came of it. */
std::string resultOf(const test::ScriptLine& packet) {
    EXPECT_TRUE(receive(static_cast<uint32_t>(packet.number(1)), packet.rest(3), packet.word(2)));
    const bool isWhole = packet.verb() == ">>";
    std::string result;
    for (const std::string& line : fake::takeLog()) {
        if (isWhole) result += line + "\n";
    }
    for (const fake::Upload& upload : fake::takeUploads()) {
        result += "upload " + upload.tag + "/" + upload.eventId;
        for (const auto& [key, value] : upload.data) result += " [" + key + "]=[" + value + "]";
        result += "\n";
    }
    for (const KavelReport& event : fake::takeReports()) {
        result += base::StringPrintf("event %ld %ld %d %d [%s]\n", event.eventId, event.logInfo,
                                     event.pid, event.uid, event.extraInfo.c_str());
    }
    for (const auto& [name, value] : fake::takePropertySets()) {
        if (isWhole) result += "property " + name + "=" + value + "\n";
        if (!isWhole && name == "sys.kavel.pwkey_errorid") result += "dump [" + value + "]\n";
    }
    return result;
}

TEST_F(KeventDecoding, PacketsLeadToWhatTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/decoding.txt", [&](const test::ScriptLine& line) {
        SetUp();
        if (line.verb() != "dump") return resultOf(line);
        sElapsedMs = line.number(1);
        base::SetProperty(kLastDump, line.word(2));
        receive(KEVENT_TYPE_STATISTIC, "logmap{logType:black_screen_monitor;catchlog:true}",
                "Kavel");
        EXPECT_EQ(fake::takeUploads().size(), 1U);
        const bool isRefused = fake::commands().empty();
        EXPECT_EQ(fake::logCount("dravo_kavel,kavel dump too frequently. last dump time is " +
                                 line.word(2) + ", currentTime is " + line.word(1)),
                  isRefused ? 1U : 0U);
        EXPECT_EQ(fake::takePropertySets().empty(), isRefused);
        EXPECT_EQ(base::GetProperty(kLastDump, ""), line.word(isRefused ? 2 : 1));
        return std::string(isRefused ? "no" : "yes");
    });
}

TEST_F(KeventDecoding, NoPacketAndNoService) {
    EXPECT_FALSE(KavelRecvKeventFunc(nullptr));
    EXPECT_EQ(fake::takeLog().back(), "I KavelRecvKeventFunc packet is null");
    fake::setStatisticService(false);
    receive(KEVENT_TYPE_STATISTIC, "logmap{a:1}");
    EXPECT_EQ(fake::takeLog().back(), "W sendPlxMsg, manager is null");
}

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
