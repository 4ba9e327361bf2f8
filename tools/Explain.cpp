#include "tools/Explain.h"

#include "event/KavelEvent.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

struct Capture {
    uint32_t bit;
    const char* text;
};

/** Captures that the daemon takes for these bits without a shell command from the table. */
constexpr Capture kCaptures[] = {
        {KAVEL_LOGINFO_ANR_TRACE,
         "asks the framework's \"kavel\" service for an ANR trace of the process (transaction 2); "
         "packing moves the trace into the folder"},
        {KAVEL_LOGINFO_NATIVE_SYSTRACE,
         "native system trace: flushes the running trace session, unless "
         "debug.atrace.tags.enableflags is 0; packing moves the trace into the folder"},
        {KAVEL_LOGINFO_ANR_STACKTRACE,
         "packing copies the ANR stack traces of the process into the folder"},
        {KAVEL_LOGINFO_FRAMEWORK_SYSTRACE,
         "framework system trace: asks the framework's \"kavel\" service (transaction 7); packing "
         "moves the trace into the folder"},
        {KAVEL_LOGINFO_SYSTEM_SERVER_TRACES,
         "system_server traces: sends SIGQUIT to the process of the event; packing waits 6 s and "
         "moves the traces into the folder"},
};

template <size_t N>
std::string eventIds(const std::array<TraceEvent, N>& events) {
    std::string ids;
    for (const TraceEvent& event : events) {
        if (!ids.empty()) ids += ", ";
        ids += hexText(static_cast<uint64_t>(event.eventId));
    }
    return ids;
}

/** States for a trace that depends on the event type whether this event type gets it. */
void limitToEvents(ExplainedBit& bit, const std::string& ids, bool eventKnown, bool eventListed) {
    bit.taken = !eventKnown || eventListed;
    if (!eventKnown) bit.capture += " (only for event types " + ids + ")";
    if (!bit.taken) bit.capture = "not taken: only for event types " + ids;
}

ExplainedBit explainBit(uint32_t bit, const Explanation& whole) {
    ExplainedBit result{};
    result.bit = bit;
    result.addedByEvent = (whole.mask & bit) == 0;
    size_t order = 0;
    for (const LogCommand& row : kLogCommands) {
        ++order;
        if (row.testBit != bit) continue;
        result.commands.push_back({commandText(row, "FOLDER") + "TIME.txt", order, &row});
    }
    for (const Capture& capture : kCaptures) {
        if (capture.bit == bit) result.capture = capture.text;
    }
    result.taken = !result.commands.empty() || !result.capture.empty();

    const bool eventKnown = whole.eventId.has_value();
    if (bit == KAVEL_LOGINFO_FRAMEWORK_SYSTRACE) {
        limitToEvents(result, eventIds(kFrameworkTraceEvents), eventKnown,
                      whole.frameworkTrace != nullptr);
    } else if (bit == KAVEL_LOGINFO_NATIVE_SYSTRACE) {
        limitToEvents(result, eventIds(kNativeTraceEvents), eventKnown,
                      whole.nativeTrace != nullptr);
    } else if (bit == KAVEL_LOGINFO_ANR_STACKTRACE && (whole.mask & KAVEL_LOGINFO_ANR_TRACE) != 0) {
        result.taken = false;
        result.capture = "not taken: ANR_TRACE is in the mask, and packing moves its traces only";
    }
    return result;
}

CommercialPart commercialPart(std::optional<int64_t> eventId) {
    constexpr int64_t kNeverPacked = 0xE01;
    if (!eventId) return CommercialPart::Unknown;
    if (isAbnormalAction(*eventId)) return CommercialPart::Action;
    return *eventId == kNeverPacked ? CommercialPart::None : CommercialPart::Neighbour;
}

}  // namespace

Explanation explainMask(uint32_t mask, std::optional<int64_t> eventId) {
    Explanation result{};
    result.mask = mask;
    result.eventId = eventId;
    result.frameworkTrace = eventId ? findFrameworkTraceEvent(*eventId) : nullptr;
    result.nativeTrace = eventId ? findNativeTraceEvent(*eventId) : nullptr;
    result.secondRound = mask & KAVEL_LOGINFO_CONTINUOUS;
    result.collected = collectableBits(mask);
    result.neverCollected = mask & ~result.collected;
    result.commercial = commercialPart(eventId);
    result.notAskedFor = result.collected & ~mask;

    uint32_t shown = mask;
    if (result.frameworkTrace != nullptr) shown |= KAVEL_LOGINFO_FRAMEWORK_SYSTRACE;
    if (result.nativeTrace != nullptr) shown |= KAVEL_LOGINFO_NATIVE_SYSTRACE;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        if ((shown & bit) == 0) continue;
        result.bits.push_back(explainBit(bit, result));
        for (const ExplainedCommand& command : result.bits.back().commands) {
            result.hasHeavy = result.hasHeavy || command.row->heavy;
        }
    }
    return result;
}

}  // namespace android::kavel::tools
