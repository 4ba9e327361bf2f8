// Bytes of one netlink message through the real receiving thread, its decoder and the callback.
// Would catch a crash, and a result that differs from that of the C library's scanf and strsep, by
// which the kernel's side defines its texts.

#include <array>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <android-base/properties.h>

#include "core/KavelKeventThread.h"
#include "core/KavelRecvKeventFunc.h"
#include "core/KeventDecoder.h"
#include "tests/core/FakeHandler.h"
#include "tests/core/Messages.h"
#include "tests/core/TestKernel.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fuzz/Require.h"

using namespace android;         // NOLINT(google-build-using-namespace): a program of its own
using namespace android::kavel;  // NOLINT(google-build-using-namespace)

namespace {

using KeyValue = std::pair<std::string, std::string>;
using Text = std::array<char, 1013>;

/** What scanf found; nullopt if it found less, or a text that is too long for the daemon. */
std::optional<KeyValue> keyValue(int conversions, const Text& key, const Text& value) {
    const auto isLong = [](const Text& text) { return strlen(text.data()) > kMaxTokenPart; };
    if (conversions != 2 || isLong(key) || isLong(value)) return std::nullopt;
    return KeyValue(key.data(), value.data());
}

/** Splits at each @p separator until @p take returns false. Returns whether it never did. */
template <typename Take>
bool splitAt(std::string text, const char* separator, const Take& take) {
    char* rest = text.data();
    for (char* token; (token = strsep(&rest, separator)) != nullptr;) {
        if (!take(token)) return false;
    }
    return true;
}

CommonPlxServiceManager::Pairs pairsByScanf(const std::string& payload) {
    Text logmap = {};
    Text key = {};
    Text value = {};
    CommonPlxServiceManager::Pairs pairs;
    if (sscanf(payload.c_str(), "logmap{%[^}]}", logmap.data()) != 1) return {};
    const bool isWhole = splitAt(logmap.data(), ";", [&](const char* token) {
        const auto pair = keyValue(sscanf(token, "%[^:]:%s", key.data(), value.data()), key, value);
        if (pair) pairs.push_back(*pair);
        return pair.has_value();
    });
    return isWhole ? pairs : CommonPlxServiceManager::Pairs{};
}

/** Event id, log-info word, pid and extra text; nothing for a bad message. */
using Event = std::tuple<long, long, int, std::string>;
std::vector<Event> eventsByScanf(const std::string& message) {
    std::map<std::string, int> numbers = {{"event_id:", 0}, {"loginfo:", 0}, {"pid:", 0}};
    std::string extraInfo;
    Text key = {};
    Text value = {};
    bool isBad = false;
    splitAt(message, ".", [&](const char* token) {
        const auto pair = keyValue(sscanf(token, "%s %s", key.data(), value.data()), key, value);
        isBad = !pair.has_value();
        if (isBad) return false;
        if (pair->first == "extrainfo:") extraInfo = pair->second;
        if (numbers.count(pair->first) == 0) return pair->first != "extrainfo:";
        try {
            numbers[pair->first] = std::stoi(pair->second);
        } catch (const std::logic_error&) {  // not a number, or too large
            isBad = true;
        }
        return !isBad;
    });
    if (isBad) return {};
    return {{numbers["event_id:"], numbers["loginfo:"], numbers["pid:"], extraInfo}};
}

void check(const kavel_kevent_packet& packet) {
    CommonPlxServiceManager::Pairs pairs;
    std::vector<Event> expected;
    if (packet.type == KEVENT_TYPE_STATISTIC) pairs = pairsByScanf(packet.payload);
    if (packet.type == KEVENT_TYPE_EVENT) expected = eventsByScanf(packet.payload);

    const auto uploads = fake::takeUploads();
    require(uploads.size() == (pairs.empty() ? 0 : 1), "the same statistics");
    require(pairs.empty() || uploads[0].data == pairs, "the same pairs");
    std::vector<Event> events;
    for (const auto& report : fake::takeReports()) {
        require(report.uid == 0, "the user id of the kernel");
        events.emplace_back(report.eventId, report.logInfo, report.pid, report.extraInfo);
    }
    require(events == expected, "the same events");
    const auto commands = fake::commands();
    require(commands.size() <= uploads.size(), "a command only with an upload");
    require(fake::takePropertySets().size() == 3 * commands.size(), "three properties a dump");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fake::captureLog();
    fake::clearLog();
    fake::resetShell();
    base::SetProperty("sys.kavel.lastdumpstate.time", "");
    if (size == 0) return 0;

    // The first byte chooses the dialect, the rest is the message.
    const bool isGki2 = (data[0] & 1) != 0;
    std::string message(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t packet = isGki2 ? kGenlPacketOffset : kCompatPacketOffset;
    for (const size_t end :
         {packet + 131, packet + 259}) {  // without one a text aborts, as it must
        if (end < message.size()) message[end] = '\0';
    }
    test::TestKernel kernel;
    kernel.release = isGki2 ? "6.1.0" : "4.19.0";
    if (isGki2) kernel.messages = {test::familyReply(0x1c)};
    kernel.messages.push_back(message);
    const sp<KavelKeventThread> thread = new KavelKeventThread([](kavel_kevent_packet* packet) {
        require(KavelRecvKeventFunc(packet), "true for every packet");
        check(*packet);
        return true;
    });
    kernel.run(*thread);

    GenlMessage reply = {};
    const size_t replySize = message.copy(reinterpret_cast<char*>(&reply), sizeof(reply));
    const int familyId = familyIdOf(reply, static_cast<ssize_t>(replySize));
    require(familyId >= -1 && familyId <= 0xFFFF, "a family id or none");
    return 0;
}
