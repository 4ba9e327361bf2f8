#include <algorithm>

#include "tools/Commands.h"
#include "tools/Explain.h"
#include "tools/ExplainEvents.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {
        {"event", "[EVENT]",
         "the event type, some of which add a system trace to every mask: a number, or a name in "
         "the table, in upper or lower case"},
        kJsonOption,
        {"markdown", "", "the table of all event types as the page docs/event-types.md"},
};

constexpr std::string_view kDescription =
        "With MASK, shows what a catch does for a log-info mask: the exact commands of each bit "
        "(FOLDER and TIME are values that only a catch has), the bits of the second round, and "
        "whether all bits can be confirmed; if not, the pack waits its full 17 s. All this is for "
        "a trail build; the differences of a commercial build come last. Does not show whether an "
        "event type collects logs. MASK is a number, or names of log bits joined by \",\" or "
        "\"|\"; 32 bits.\n"
        "Without MASK, but with --event, shows what differs by event type: all of EVENT with the "
        "meaning of each column, or a table of all event types.\n"
        "Uses the daemon's own tables, so the daemon need not run.";

constexpr std::string_view kDetails =
        "JSON without MASK: {eventTypes: list of rows}; the cells of a row are text, true, false,\n"
        "or null if empty. With MASK:\n"
        "  mask            hexadecimal text\n"
        "  event           null without --event, else {id: hexadecimal text, frameworkTrace,\n"
        "                  nativeTrace: the trace code as hexadecimal text, or null if it adds\n"
        "                  none}\n"
        "  bits            list, lowest first, of:\n"
        "    bit           hexadecimal text\n"
        "    name          text, or null for an unknown bit\n"
        "    addedByEvent  true if the event type adds the bit to the mask\n"
        "    taken         false if nothing is started for the bit\n"
        "    capture       text, what is collected without a command, or null\n"
        "    commands      list of {command, order, pool: \"cmd\" or \"logcat\", testBit,\n"
        "                  tagBit: hexadecimal text, heavy}\n"
        "  secondRound     bits that are collected again after the time window\n"
        "  collected       bits that are confirmed when all commands have ended\n"
        "  neverCollected  bits of the mask that are never confirmed\n"
        "  notAskedFor     confirmed bits that are not in the mask\n"
        "  waitsFullTime   true if the pack waits its full time\n"
        "  waitSeconds     that time, in seconds\n"
        "  commercial      what differs on a commercial build; values are null without --event:\n"
        "    part          \"action\": the event has its own archive; \"neighbour\": it is in\n"
        "                  that of an action; \"none\"\n"
        "    secondRound   bits that are collected again 30 s after the event\n"
        "    waitSeconds   maximum time for which the pack waits for the bits\n";

const char* poolName(CommandPool pool) {
    return pool == CommandPool::Logcat ? "logcat" : "cmd";
}

/** Returns a text like "0x21 (ANDROID, BINDERINFO)". */
std::string maskText(uint32_t mask) {
    return mask == 0 ? "none" : hexText(mask) + " (" + logBitNames(mask) + ")";
}

Json::Value codeOrNull(const SystemTrace& trace, SystemTrace::Source source) {
    return trace.source == source ? Json::Value(hexText(static_cast<uint64_t>(trace.code)))
                                  : Json::Value();
}

Json::Value bitJson(const ExplainedBit& bit) {
    Json::Value json;
    json["bit"] = hexText(bit.bit);
    json["name"] =
            isLogBit(bit.bit) ? Json::Value(std::string(logBitName(bit.bit))) : Json::Value();
    json["addedByEvent"] = bit.addedByEvent;
    json["taken"] = bit.taken;
    json["capture"] = bit.capture.empty() ? Json::Value() : Json::Value(bit.capture);
    Json::Value& commands = json["commands"] = Json::arrayValue;
    for (const ExplainedCommand& command : bit.commands) {
        Json::Value entry;
        entry["command"] = command.text;
        entry["order"] = Json::UInt64{command.order};
        entry["pool"] = poolName(command.row->pool);
        entry["testBit"] = hexText(command.row->testBit);
        entry["tagBit"] = hexText(command.row->tagBit);
        entry["heavy"] = command.row->heavy;
        commands.append(entry);
    }
    return json;
}

Json::Value commercialJson(const Explanation& explanation) {
    const bool isAction = explanation.commercial == CommercialPart::Action;
    const bool isNeighbour = explanation.commercial == CommercialPart::Neighbour;
    Json::Value json;
    json["part"] = Json::nullValue;
    json["secondRound"] = Json::nullValue;
    json["waitSeconds"] = Json::nullValue;
    if (!explanation.commercial) return json;
    json["part"] = commercialPartText(*explanation.commercial);
    json["secondRound"] = hexText(isAction ? explanation.secondRound : 0);
    json["waitSeconds"] = isNeighbour ? kCommercialWaitSeconds : 0;
    return json;
}

Json::Value explanationJson(const Explanation& explanation) {
    Json::Value json;
    json["mask"] = hexText(explanation.mask);
    json["event"] = Json::nullValue;
    if (explanation.eventId) {
        json["event"]["id"] = hexText(static_cast<uint64_t>(*explanation.eventId));
        json["event"]["frameworkTrace"] =
                codeOrNull(explanation.trace, SystemTrace::Source::Framework);
        json["event"]["nativeTrace"] = codeOrNull(explanation.trace, SystemTrace::Source::Native);
    }
    Json::Value& bits = json["bits"] = Json::arrayValue;
    for (const ExplainedBit& bit : explanation.bits) bits.append(bitJson(bit));
    json["secondRound"] = hexText(explanation.secondRound);
    json["collected"] = hexText(explanation.collected);
    json["neverCollected"] = hexText(explanation.neverCollected);
    json["notAskedFor"] = hexText(explanation.notAskedFor);
    json["waitsFullTime"] = explanation.waitsFullTime();
    json["waitSeconds"] = kFullPackWaitSeconds;
    json["commercial"] = commercialJson(explanation);
    return json;
}

void printBit(std::ostream& out, const ExplainedBit& bit) {
    out << hexText(bit.bit) << ' ' << logBitName(bit.bit)
        << (bit.addedByEvent ? " (added by the event type)" : "") << '\n';
    if (!bit.capture.empty()) out << "    " << bit.capture << '\n';
    if (bit.capture.empty() && bit.commands.empty()) out << "    starts nothing\n";
    for (const ExplainedCommand& command : bit.commands) {
        const LogCommand& row = *command.row;
        out << "    " << command.text << "\n        no. " << command.order << ", "
            << poolName(row.pool) << " pool, tests " << hexText(row.testBit) << ", confirms "
            << hexText(row.tagBit);
        if (row.tagBit != row.testBit) out << " (" << logBitName(row.tagBit) << ")";
        if (row.heavy) out << ", heavy: at most one set of heavy dumps in 30 s for all events";
        out << '\n';
    }
}

void printEvent(std::ostream& out, const Explanation& explanation) {
    out << "event type " << hexText(static_cast<uint64_t>(*explanation.eventId));
    const SystemTrace& trace = explanation.trace;
    if (trace.source == SystemTrace::Source::None) {
        out << ": adds no system trace\n";
        return;
    }
    const bool isNative = trace.source == SystemTrace::Source::Native;
    out << ": adds a " << (isNative ? "native" : "framework") << " system trace ("
        << hexText(isNative ? KAVEL_LOGINFO_NATIVE_SYSTRACE : KAVEL_LOGINFO_FRAMEWORK_SYSTRACE)
        << "), trace code " << hexText(static_cast<uint64_t>(trace.code)) << '\n';
}

/** On a commercial build only abnormal actions are packed, with different rules. */
void printCommercial(std::ostream& out, const Explanation& explanation) {
    const auto mayBe = [&](CommercialPart part) {
        return explanation.commercial.value_or(part) == part;
    };
    const bool mayBeAction = mayBe(CommercialPart::Action);
    const bool mayBeNeighbour = mayBe(CommercialPart::Neighbour);
    uint32_t taken = 0;
    for (const ExplainedBit& bit : explanation.bits) taken |= bit.taken ? bit.bit : 0;
    constexpr uint32_t kSystemTraces = KAVEL_LOGINFO_NATIVE_SYSTRACE |
                                       KAVEL_LOGINFO_FRAMEWORK_SYSTRACE |
                                       KAVEL_LOGINFO_SYSTEM_SERVER_TRACES;
    constexpr uint32_t kAnrTraces = KAVEL_LOGINFO_ANR_TRACE | KAVEL_LOGINFO_ANR_STACKTRACE;

    out << "\non a commercial build:\n";
    if (mayBeAction) {
        const auto* row =
                std::find_if(kEventTypes.begin(), kEventTypes.end(),
                             [](const EventType& type) { return type.isAbnormalAction(); });
        out << "    abnormal action (" << idsText(row->ids)
            << "): has an archive; the second round comes 30 s after the event, then the pack\n";
    }
    if (mayBeNeighbour) {
        out << "    other event type: no second round; packed with the abnormal action next to it, "
               "which waits for the bits, "
            << kCommercialWaitSeconds << " s "
            << (explanation.waitsFullTime() ? "here: they never equal the mask" : "at most")
            << '\n';
    }
    if (explanation.commercial == CommercialPart::None) {
        out << "    this event type is in no archive\n";
        return;
    }
    if ((taken & kSystemTraces) != 0) out << "    system traces are not packed\n";
    if ((taken & kAnrTraces) == 0) return;
    if (mayBeAction) out << "    abnormal action: its ANR traces are not packed\n";
    if (mayBeNeighbour) {
        out << "    other event type: the ANR traces are those of the abnormal action's process\n";
    }
}

void printExplanation(std::ostream& out, const Explanation& explanation) {
    out << "mask " << hexText(explanation.mask) << '\n';
    if (explanation.eventId) printEvent(out, explanation);
    out << '\n';
    for (const ExplainedBit& bit : explanation.bits) printBit(out, bit);
    if (explanation.bits.empty()) out << "no bit set: starts nothing\n";

    out << "\nsecond round, after the time window: " << maskText(explanation.secondRound)
        << "\nconfirmed: " << maskText(explanation.collected) << '\n';
    if (explanation.neverCollected != 0) {
        out << "never confirmed: " << maskText(explanation.neverCollected) << '\n';
    }
    if (explanation.notAskedFor != 0) {
        out << "confirmed but not in the mask: " << maskText(explanation.notAskedFor) << '\n';
    }
    if (explanation.waitsFullTime()) {
        out << "The confirmed bits never equal the mask: the pack waits its full "
            << kFullPackWaitSeconds << " s.\n";
    } else {
        out << "The pack goes on 2 s after all commands have ended.\n";
        if (explanation.hasHeavy) {
            out << "If the limit skips a heavy dump, its bit is not confirmed: then the pack waits "
                   "its full "
                << kFullPackWaitSeconds << " s.\n";
        }
    }
    printCommercial(out, explanation);
}

int explainMaskCommand(const Arguments& arguments, const Output& output) {
    if (arguments.has("markdown")) throw UsageError("--markdown and MASK exclude each other");
    const uint32_t mask = parseExplainMask(arguments.operands.front());
    std::optional<int64_t> eventId;
    if (const auto text = arguments.value("event")) {
        if (text->empty()) throw UsageError("--event needs a value");
        eventId = parseEventId(*text);
    }

    const Explanation explanation = explainMask(mask, eventId);
    if (arguments.has("json")) {
        writeJson(output.out, explanationJson(explanation));
    } else {
        printExplanation(output.out, explanation);
    }
    return kExitOk;
}

int explainEventsCommand(const std::string& event, const Arguments& arguments,
                         const Output& output) {
    const bool wantsPage = arguments.has("markdown");
    const bool wantsJson = arguments.has("json");
    if (wantsPage && wantsJson) throw UsageError("--json and --markdown exclude each other");
    if (wantsPage && !event.empty()) throw UsageError("--markdown is for all event types");
    std::optional<int64_t> eventId;
    if (!event.empty()) eventId = parseEventId(event);
    if (wantsPage) {
        printEventTypesPage(output.out);
    } else if (wantsJson) {
        writeEventTypesJson(output.out, eventId);
    } else if (eventId) {
        printEventType(output.out, *eventId);
    } else {
        printEventTypes(output.out);
    }
    return kExitOk;
}

int runExplain(const Arguments& arguments, const Output& output) {
    if (!arguments.operands.empty()) return explainMaskCommand(arguments, output);
    const auto event = arguments.value("event");
    if (!event) throw UsageError("MASK is missing");
    return explainEventsCommand(*event, arguments, output);
}

}  // namespace

const Command kExplainCommand{
        "explain",    "[MASK]", "show what a log-info mask collects, or an event type does",
        kDescription, kOptions, runExplain,
        kDetails};

}  // namespace android::kavel::tools
