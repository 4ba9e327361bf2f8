#include "tools/Explain.h"

#include <map>

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

/** Returns the ids of the event types that add a trace of @p source, in the order of their codes.
 */
std::string tracedEventIds(SystemTrace::Source source) {
    std::map<int64_t, int64_t> idsByCode;
    for (const EventType& type : kEventTypes) {
        if (type.trace.source == source) idsByCode[type.trace.code] = type.ids.first;
    }
    std::string ids;
    for (const auto& [code, id] : idsByCode) {
        if (!ids.empty()) ids += ", ";
        ids += hexText(static_cast<uint64_t>(id));
    }
    return ids;
}

/** States for the bit of a trace from @p source whether the event type adds such a trace. */
void limitToEvents(ExplainedBit& bit, const Explanation& whole, SystemTrace::Source source) {
    const std::string ids = tracedEventIds(source);
    const bool eventKnown = whole.eventId.has_value();
    bit.taken = !eventKnown || whole.trace.source == source;
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

    if (bit == KAVEL_LOGINFO_FRAMEWORK_SYSTRACE) {
        limitToEvents(result, whole, SystemTrace::Source::Framework);
    } else if (bit == KAVEL_LOGINFO_NATIVE_SYSTRACE) {
        limitToEvents(result, whole, SystemTrace::Source::Native);
    } else if (bit == KAVEL_LOGINFO_ANR_STACKTRACE && (whole.mask & KAVEL_LOGINFO_ANR_TRACE) != 0) {
        result.taken = false;
        result.capture = "not taken: ANR_TRACE is in the mask, and packing moves its traces only";
    }
    return result;
}

/** Returns the bit that a trace from @p source adds to the mask. */
uint32_t traceBit(SystemTrace::Source source) {
    switch (source) {
        case SystemTrace::Source::Framework:
            return KAVEL_LOGINFO_FRAMEWORK_SYSTRACE;
        case SystemTrace::Source::Native:
            return KAVEL_LOGINFO_NATIVE_SYSTRACE;
        case SystemTrace::Source::None:
            break;
    }
    return 0;
}

}  // namespace

Explanation explainMask(uint32_t mask, std::optional<int64_t> eventId) {
    Explanation result{};
    result.mask = mask;
    result.eventId = eventId;
    if (eventId) {
        const EventType& type = eventTypeOf(*eventId);
        result.trace = type.trace;
        result.commercial = type.commercial;
    }
    result.secondRound = mask & KAVEL_LOGINFO_CONTINUOUS;
    result.collected = collectableBits(mask);
    result.neverCollected = mask & ~result.collected;
    result.notAskedFor = result.collected & ~mask;

    const uint32_t shown = mask | traceBit(result.trace.source);
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
