// Bytes of one netlink message through the real receiving thread, its decoder and the callback.
// What comes out is held against the C library's scanf and strsep, in whose terms the kernel's side
// thinks of its texts.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <sys/utsname.h>

#include <android-base/properties.h>

#include "core/KavelKeventThread.h"
#include "core/KavelRecvKeventFunc.h"
#include "core/KeventDecoder.h"
#include "tests/core/FakeHandler.h"
#include "tests/core/Messages.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"

using namespace android;         // NOLINT(google-build-using-namespace): a program of its own
using namespace android::kavel;  // NOLINT(google-build-using-namespace)

namespace {

bool sIsGki2 = false;
std::string sMessage;
bool sIsReceived = false;

/** Leaves the thread's endless loop. */
struct NothingLeft {};

void require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

constexpr size_t kLongest = 1012;
using Buffer = std::array<char, kLongest + 1>;

/** Whether scanf takes the texts to be as short as the daemon's buffers. */
bool isShort(const Buffer& key, const Buffer& value) {
    return strlen(key.data()) <= kMaxTokenPart && strlen(value.data()) <= kMaxTokenPart;
}

/** Splits at each @p separator; @p take says whether to go on. False where it ended the split. */
template <typename Take>
bool splitAt(std::string text, const char* separator, const Take& take) {
    char* rest = text.data();
    for (char* token; (token = strsep(&rest, separator)) != nullptr;) {
        if (!take(token)) return false;
    }
    return true;
}

CommonPlxServiceManager::Pairs pairsByScanf(const std::string& payload) {
    Buffer logmap = {};
    CommonPlxServiceManager::Pairs pairs;
    if (sscanf(payload.c_str(), "logmap{%[^}]}", logmap.data()) != 1) return {};
    const bool isWhole = splitAt(logmap.data(), ";", [&](const char* token) {
        Buffer key = {};
        Buffer value = {};
        if (sscanf(token, "%[^:]:%s", key.data(), value.data()) != 2 || !isShort(key, value)) {
            return false;
        }
        pairs.emplace_back(key.data(), value.data());
        return true;
    });
    return isWhole ? pairs : CommonPlxServiceManager::Pairs{};
}

std::vector<KavelReport> intakesByScanf(const std::string& message) {
    KavelReport intake = {};
    bool isBad = false;
    splitAt(message, ".", [&](const char* token) {
        Buffer key = {};
        Buffer value = {};
        isBad = sscanf(token, "%s %s", key.data(), value.data()) != 2 || !isShort(key, value);
        if (isBad) return false;
        const std::string name = key.data();
        if (name == "extrainfo:") {
            intake.extraInfo = value.data();
            return false;
        }
        if (name != "event_id:" && name != "loginfo:" && name != "pid:") return true;
        try {
            const int number = std::stoi(value.data());
            if (name == "event_id:") intake.eventId = number;
            if (name == "loginfo:") intake.logInfo = number;
            if (name == "pid:") intake.pid = number;
        } catch (const std::logic_error&) {  // no number, or too big a one
            isBad = true;
        }
        return !isBad;
    });
    return isBad ? std::vector<KavelReport>{} : std::vector<KavelReport>{intake};
}

void check(const kavel_kevent_packet& packet) {
    const auto uploads = fake::takeUploads();
    const auto intakes = fake::takeReports();
    const auto pairs = packet.type == KEVENT_TYPE_STATISTIC ? pairsByScanf(packet.payload)
                                                            : CommonPlxServiceManager::Pairs{};
    require(uploads.size() == (pairs.empty() ? 0 : 1), "the same statistics");
    if (!pairs.empty()) require(uploads[0].data == pairs, "the same pairs");

    const auto expected = packet.type == KEVENT_TYPE_EVENT ? intakesByScanf(packet.payload)
                                                           : std::vector<KavelReport>{};
    require(intakes.size() == expected.size(), "the same events");
    if (!intakes.empty()) {
        require(intakes[0].eventId == expected[0].eventId, "the same event id");
        require(intakes[0].logInfo == expected[0].logInfo, "the same log info");
        require(intakes[0].pid == expected[0].pid && intakes[0].uid == 0, "the same process");
        require(intakes[0].extraInfo == expected[0].extraInfo, "the same extra text");
    }
    const auto commands = fake::commands();
    require(commands.size() <= uploads.size(), "a command only with an upload");
    require(fake::takePropertySets().size() == 3 * commands.size(), "three properties a dump");
}

/** A tag or event id without an end aborts, as it must; that is not what this is looking for. */
void endTexts(std::string& message, size_t packetOffset) {
    for (const size_t last : {packetOffset + 131, packetOffset + 259}) {
        if (last < message.size()) message[last] = '\0';
    }
}

}  // namespace

extern "C" {

int __wrap_uname(utsname* name) {
    *name = {};
    std::string(sIsGki2 ? "6.1.0" : "4.19.0").copy(name->release, sizeof(name->release) - 1);
    return 0;
}

int __wrap_socket(int /*domain*/, int /*type*/, int /*protocol*/) {
    return dup(0);  // a descriptor to close
}

int __wrap_bind(int /*fd*/, const sockaddr* /*address*/, socklen_t /*size*/) {
    return 0;
}

ssize_t __wrap_sendto(int /*fd*/, const void* /*data*/, size_t size, int /*flags*/,
                      const sockaddr* /*address*/, socklen_t /*addressSize*/) {
    return static_cast<ssize_t>(size);
}

ssize_t __wrap_recv(int /*fd*/, void* data, size_t size, int /*flags*/) {
    return static_cast<ssize_t>(test::familyReply(0x1c).copy(static_cast<char*>(data), size));
}

ssize_t __wrap_recvfrom(int /*fd*/, void* data, size_t size, int /*flags*/, sockaddr* /*address*/,
                        socklen_t* /*addressSize*/) {
    if (sIsReceived) throw NothingLeft();
    sIsReceived = true;
    return static_cast<ssize_t>(sMessage.copy(static_cast<char*>(data), size));
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fake::captureLog();
    fake::clearLog();
    fake::resetShell();
    base::SetProperty("sys.kavel.lastdumpstate.time", "");
    if (size == 0) return 0;

    // The first byte chooses the dialect, the rest is the message.
    sIsGki2 = (data[0] & 1) != 0;
    sMessage.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
    sIsReceived = false;
    endTexts(sMessage, sIsGki2 ? kGenlPacketOffset : kCompatPacketOffset);
    const sp<KavelKeventThread> thread = new KavelKeventThread([](kavel_kevent_packet* packet) {
        require(KavelRecvKeventFunc(packet), "true for every packet");
        check(*packet);
        return true;
    });
    try {
        thread->threadLoop();
    } catch (const NothingLeft&) {
        // as it should
    }

    GenlMessage reply = {};
    const size_t replySize = sMessage.copy(reinterpret_cast<char*>(&reply), sizeof(reply));
    const int familyId = familyIdOf(reply, static_cast<ssize_t>(replySize));
    require(familyId >= -1 && familyId <= 0xFFFF, "a family id or none");
    return 0;
}
}
