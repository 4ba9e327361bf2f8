// Would catch a payload that is split, cut or refused in another way than the kernel's side
// expects, a type that is handled although it has no handling, a dump that no statistic asks for,
// more than one dump in 150 s for any value of the property, the later of two error ids, a text
// that leaves its quotes or that echo changes, a text that is read on into the next field, a null
// packet that is used, and a crash on a device without data collection.

#include <cerrno>
#include <string>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/SystemClock.h>

#include "core/KavelRecvKeventFunc.h"
#include "core/KernelChannel.h"
#include "core/KeventDecoder.h"
#include "platform/Log.h"
#include "tests/core/FakeHandler.h"
#include "tests/core/Messages.h"
#include "tests/core/Rows.h"
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

bool receive(uint32_t type, const std::string& payload, const std::string& eventId,
             const std::string& tag = "t") {
    std::string bytes = test::packet(type, tag, eventId, payload);
    errno = ERANGE;  // of an earlier call
    return KavelRecvKeventFunc(reinterpret_cast<kavel_kevent_packet*>(bytes.data()));
}

void reset() {
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

/** Receives one packet of "> TYPE EVENT PAYLOAD", or ">> ..." to see the log too. What came of it.
 */
std::string resultOf(const test::ScriptLine& line, const std::string& payload) {
    reset();
    EXPECT_TRUE(receive(static_cast<uint32_t>(line.number(1)), payload, line.word(2)));
    const bool isWhole = line.verb() == ">>";
    std::string result;
    for (const std::string& logged : fake::takeLog()) {
        if (isWhole) result += logged + "\n";
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

/** Receives a packet that asks for a dump. Whether there was one. */
bool isDumped(const std::string& now, const std::string& last) {
    reset();
    sElapsedMs = std::stoll(now);
    base::SetProperty(kLastDump, last);
    receive(2, "logmap{logType:black_screen_monitor;catchlog:true}", "Kavel");
    EXPECT_EQ(fake::takeUploads().size(), 1U);
    const bool isRefused = fake::commands().empty();
    const std::string refusal = "dravo_kavel,kavel dump too frequently. last dump time is ";
    EXPECT_EQ(fake::logCount(refusal + last + ", currentTime is " + now), isRefused ? 1U : 0U);
    EXPECT_EQ(fake::takePropertySets().empty(), isRefused);
    EXPECT_EQ(base::GetProperty(kLastDump, ""), isRefused ? last : now);
    return !isRefused;
}

TEST(KeventDecoding, PacketsLeadToWhatTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/decoding.txt", [](const test::ScriptLine& line) {
        std::string results;
        if (line.verb() == "dump") {
            for (size_t i = 1; i < line.size(); i += 2) {
                results += isDumped(line.word(i), line.word(i + 1)) ? "yes\n" : "no\n";
            }
            return test::rowsOf(results);
        }
        const std::string payloads = line.rest(3) + " | ";
        for (size_t start = 0, end; start < payloads.size(); start = end + 3) {
            end = payloads.find(" | ", start);
            results += resultOf(line, payloads.substr(start, end - start));
        }
        return test::rowsOf(results);
    });
}

TEST(KeventDecoding, NoPacketAndNoService) {
    reset();
    EXPECT_FALSE(KavelRecvKeventFunc(nullptr));
    EXPECT_EQ(fake::takeLog().back(), "I KavelRecvKeventFunc packet is null");
    fake::setStatisticService(false);
    receive(2, "logmap{a:1}", "e");
    EXPECT_EQ(fake::takeLog().back(), "W sendPlxMsg, manager is null");
}

TEST(KeventDecoding, PartsOfTheLargestSizeAreRead) {
    for (const size_t size : {kMaxTokenPart, kMaxTokenPart + 1}) {
        const std::string part(size, 'x');
        reset();
        receive(KEVENT_TYPE_STATISTIC, "logmap{" + part + ":" + part + "}", "e");
        receive(KEVENT_TYPE_EVENT, part + " " + part + ".event_id: 1.loginfo: 1.pid: 1", "e");
        const bool isRead = size == kMaxTokenPart;
        EXPECT_EQ(fake::takeUploads().size(), isRead ? 1U : 0U);
        EXPECT_EQ(fake::takeReports().size(), isRead ? 1U : 0U);
    }
}

TEST(KeventDecoding, UnknownTypesAreCounted) {
    const uint64_t before = kernelChannel().malformed;
    for (const uint32_t type : {uint32_t{KEVENT_TYPE_LOG}, 0U, 7U}) receive(type, "", "e");
    EXPECT_EQ(kernelChannel().malformed, before + 2);
}

TEST(KeventDecoding, FieldWithoutEndAborts) {
    reset();
    const auto receiveWith = [](size_t tagLength, size_t eventIdLength) {
        receive(2, "logmap{a:1}", std::string(eventIdLength, 'e'), std::string(tagLength, 't'));
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
