// Calls into the maker's libraries, with a time limit: a library that hangs does not block its
// callers.

#include "platform/CallLine.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "platform/OneLine.h"
#include "platform/Shell.h"
#include "platform/TraceNativeUtils.h"

namespace android {

using kavel::CallLine;

namespace {

constexpr size_t kMaxStatistics = 64;
constexpr size_t kMaxFlushes = 8;

/** Returns the statistic as one line of text. */
std::string describe(const std::string& tag, const std::string& eventId,
                     const CommonPlxServiceManager::Pairs& data) {
    std::string text = tag + "/" + eventId;
    for (const auto& [key, value] : data) text.append(" ").append(key).append("=").append(value);
    return kavel::oneLine(text);
}

}  // namespace

void CommonPlxServiceManager::sendToPlxFromCommonPlx(std::string tag, std::string eventId,
                                                     const Pairs& data) {
    static auto* const line = new CallLine(1, kMaxStatistics);
    const CallLine::Outcome outcome = line->call(
            [this, tag, eventId, data] { upload(tag, eventId, data); }, kavel::kIntakeDeadline);
    if (outcome == CallLine::Outcome::Returned) return;
    // The statistic is at the end of the line, because it may be longer than a log line.
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel]: upload %s: %s\n", kavel::outcomeText(outcome),
               describe(tag, eventId, data).c_str());
}

CallLine::Outcome TraceNativeUtils::stopDravoTracing(const char* session, bool stop, bool restart) {
    static auto* const line = new CallLine(kMaxFlushes, kMaxFlushes);
    return line->call([this, session = std::string(session), stop,
                       restart] { flush(session, stop, restart); },
                      kavel::kCommandDeadline);
}

}  // namespace android
