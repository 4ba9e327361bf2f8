#include "core/KavelRecvKeventFunc.h"

#include <cinttypes>
#include <cstring>
#include <exception>

#include <android-base/properties.h>
#include <android-base/stringprintf.h>
#include <cutils/properties.h>
#include <log/log.h>
#include <utils/SystemClock.h>

#include "core/KernelChannel.h"
#include "core/KeventDecoder.h"
#include "core/PlxFile.h"
#include "event/ReportJournal.h"
#include "handler/KavelEventHandler.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"

namespace android {

using kavel::PlxMsg;

namespace {

constexpr const char* kStatisticDirectory = "/data/persist_log/kavel";
constexpr const char* kLastDumpProperty = "sys.kavel.lastdumpstate.time";
constexpr uint64_t kDumpIntervalMs = 150'000;

/**
 * Returns a text field of the packet. A field without a NUL means that the kernel module was built
 * with another layout. No field can be trusted then, so this ends the process.
 */
template <size_t N>
std::string fieldText(const char* name, const char (&field)[N]) {
    const size_t length = strnlen(field, N);
    if (length == N) {
        LOG_ALWAYS_FATAL("kernel packet: %s has no end within its %zu bytes, aborting", name, N);
    }
    return std::string(field, length);
}

/** Returns the statistic in the packet. If there is none, logs why and returns nullopt. */
std::optional<PlxMsg> getPlxMsgFromKevent(const kavel_kevent_packet& packet) {
    KAVEL_LOGI(KAVEL_NO_TAG, "getPlxMsgFromKevent\n");
    PlxMsg msg = {fieldText("tag", packet.tag), fieldText("event_id", packet.event_id), {}};
    const std::string payload = packet.payload;
    const std::optional<std::string> logmap = kavel::extractLogmap(payload);
    if (!logmap) {
        KAVEL_LOGW(KAVEL_NO_TAG, "getPlxMsgFromKevent parse error, data:%s\n", payload.c_str());
        return std::nullopt;
    }
    const std::optional<std::string> badToken = kavel::parseLogmap(*logmap, &msg);
    for (const auto& [key, value] : msg.data) {
        KAVEL_LOGI(KAVEL_NO_TAG, "getPlxMsgFromKevent push plxdata logmap key:%s value:%s\n",
                   key.c_str(), value.c_str());
    }
    if (badToken) {
        KAVEL_LOGW(KAVEL_NO_TAG, "getPlxMsgFromKevent parse error, param:%s\n", badToken->c_str());
        return std::nullopt;
    }
    if (msg.data.empty()) {
        // Tools that read the log depend on the word "send".
        KAVEL_LOGW(KAVEL_NO_TAG, "getPlxMsgFromKevent, no plx data to be send\n");
        return std::nullopt;
    }
    return msg;
}

/**
 * Whether a system dump is due. If so, stores the time. The limit survives a restart of the daemon.
 */
bool takeDumpTurn() {
    const auto now = static_cast<uint64_t>(elapsedRealtime());
    const auto last = base::GetUintProperty<uint64_t>(kLastDumpProperty, 0);
    // Do not add to the stored time: the sum could wrap, and a process that can write the property
    // could then trigger any number of dumps.
    if (last != 0 && (now < kDumpIntervalMs || now - kDumpIntervalMs <= last)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "dravo_kavel,kavel dump too frequently. last dump time is %llu, currentTime is "
                   "%llu",
                   static_cast<unsigned long long>(last), static_cast<unsigned long long>(now));
        return false;
    }
    base::SetProperty(kLastDumpProperty, std::to_string(now));
    return true;
}

void savePlxMessageToLogPath(const std::string& payload) {
    const std::optional<std::string> logmap = kavel::extractLogmap(payload);
    if (!logmap) return;
    kavel::trimPlxFile(base::StringPrintf("%s/plx.txt", kStatisticDirectory));
    kavel::runShell(
            base::StringPrintf("echo %s >> %s/plx.txt", kavel::singleQuoteForEcho(*logmap).c_str(),
                               kStatisticDirectory),
            kavel::kIntakeDeadline);
    KAVEL_LOGI(KAVEL_NO_TAG, "savePlxMessageToLogPath message:%s locPath:%s/plx.txt",
               logmap->c_str(), kStatisticDirectory);
}

std::string get_error_id(const PlxMsg& msg) {
    const std::string* const errorId = kavel::findValue(msg, "error_id");
    if (errorId == nullptr) return "";
    KAVEL_LOGI(KAVEL_NO_TAG, "get_error_id error_id:%s", errorId->c_str());
    return *errorId;
}

/** Starts a system dump if a power-key statistic asks for one. The upload follows in any case. */
void processBeforePlxMsgSend(const PlxMsg& msg, const std::string& payload) {
    if (!kavel::isScreenMonitor(msg)) return;
    const bool catchLog = kavel::asksForDump(msg);
    KAVEL_LOGI(KAVEL_NO_TAG, "processBeforePlxMsgSend kavel pwkey catchlog:%s\n",
               catchLog ? "true" : "false");
    if (!catchLog || !takeDumpTurn()) return;
    savePlxMessageToLogPath(payload);
    const std::string errorId = get_error_id(msg);
    property_set("sys.kavel.pwkey_errorid", errorId.c_str());
    property_set("sys.kavel.log_type", "8");
    property_set("ctl.restart", "dumpstate_kavel");
    // Tools that read the log depend on the spelling "pwrkey" here, and "pwkey" above.
    KAVEL_LOGI(KAVEL_NO_TAG, "dravo_kavel, start dumpstate_kavel for catch pwrkey log, errorid:%s",
               errorId.c_str());
}

void sendPlxMsg(const PlxMsg& msg) {
    CommonPlxServiceManager* const manager =
            CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
    if (manager == nullptr) {
        KAVEL_LOGW(KAVEL_NO_TAG, "sendPlxMsg, manager is null\n");
        return;
    }
    manager->sendToPlxFromCommonPlx(msg.tag, msg.eventId, msg.data);
}

void handleStatistic(const kavel_kevent_packet& packet) {
    const std::optional<PlxMsg> msg = getPlxMsgFromKevent(packet);
    if (!msg) {
        KAVEL_LOGW(KAVEL_NO_TAG, "getPlxMsgFromKevent failed\n");
        ++kavel::kernelChannel().malformed;
        return;
    }
    if (msg->eventId == "Kavel") processBeforePlxMsgSend(*msg, packet.payload);
    sendPlxMsg(*msg);
}

void logToken(const kavel::EventToken& token) {
    KAVEL_LOGI(KAVEL_NO_TAG, "dravo_kavel kernelSendKavelEvent key-value ret = %d\n",
               token.conversions);
    if (token.isBad) {
        KAVEL_LOGW(KAVEL_NO_TAG, "dravo_kavel handleKernelSendEvent parse error, param:%s\n",
                   token.text.c_str());
        return;
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "dravo_kavel handleKernelSendEvent got data, key:%s value:%s\n",
               token.key.c_str(), token.value.c_str());
    if (!token.isKnown) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "dravo_kavel handleKernelSendEvent got unknown key, key:%s value:%s\n",
                   token.key.c_str(), token.value.c_str());
    }
}

void handleKernelSendEvent(const std::string& message) {
    KAVEL_LOGI(KAVEL_NO_TAG, "dravo_kavel handleKernelSendEvent got message:%s\n", message.c_str());
    const kavel::EventText event = kavel::parseEventText(message);
    for (const kavel::EventToken& token : event.tokens) logToken(token);
    kavel::ReportJournal& journal = kavel::ReportJournal::instance();
    journal.received(kavel::ReportJournal::Source::Kernel);
    if (event.isBad) return journal.noteReport(kavel::Fate::Malformed, event.eventId, message);
    constexpr int kKernelUid = 0;
    try {
        KavelEventHandler::getInstance().report(
                {event.eventId, event.logInfo, event.pid, kKernelUid, event.extraInfo});
    } catch (const std::exception& e) {  // on the first use, if there is no memory or no thread
        KAVEL_LOGE(KAVEL_NO_TAG, "dravo_kavel handleKernelSendEvent event %ld dropped: %s\n",
                   event.eventId, e.what());
        journal.noteReport(kavel::Fate::Dropped, event.eventId, e.what());
    }
}

void handleKernelSendKavelEvent(const kavel_kevent_packet& packet) {
    KAVEL_LOGI(KAVEL_NO_TAG, "dravo_kavel handleKernelSendKavelEvent\n");
    handleKernelSendEvent(packet.payload);
}

}  // namespace

bool KavelRecvKeventFunc(kavel_kevent_packet* packet) {
    KAVEL_LOGI(KAVEL_NO_TAG, "KavelRecvKeventFunc called\n");
    if (packet == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "KavelRecvKeventFunc packet is null\n");
        return false;
    }
    switch (packet->type) {
        case KEVENT_TYPE_LOG:
            KAVEL_LOGD(KAVEL_NO_TAG, "KavelRecvKeventFunc: tag:%.128s, event_id:%.128s, data:%s",
                       packet->tag, packet->event_id, packet->payload);
            break;
        case KEVENT_TYPE_STATISTIC:
            handleStatistic(*packet);
            break;
        case KEVENT_TYPE_EVENT:
            handleKernelSendKavelEvent(*packet);
            break;
        default:
            ++kavel::kernelChannel().malformed;
            break;
    }
    return true;
}

}  // namespace android
