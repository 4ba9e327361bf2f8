#include <chrono>
#include <limits>
#include <thread>

#include "tools/Commands.h"
#include "tools/DaemonClient.h"
#include "tools/ExtraText.h"
#include "tools/StatusReader.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr int64_t kMaxInt32 = std::numeric_limits<int32_t>::max();
constexpr int64_t kMinInt64 = std::numeric_limits<int64_t>::min();
constexpr int64_t kMaxInt64 = std::numeric_limits<int64_t>::max();

/** The daemon's default for event types without a window. */
constexpr int64_t kDefaultWindowMs = 180000;

constexpr Option kSetOptions[] = {
        {"name", "N",
         "name in folders, archives and the history line; the first call for the event type needs "
         "it, unless a recover id is given, because the daemon then stores no name"},
        {"enable", "", "handle reports of this event type (the default)"},
        {"disable", "", "drop them"},
        {"freq", "N", "reporting frequency; stored, but has no effect (default: 0)"},
        {"window", "MS",
         "milliseconds for which further reports join the same catch (default: 180000; below 1000 "
         "each report gets its own archive; an hour at most)"},
        {"recover-id", "N",
         "recovery action for event types from 0x10000001 up; 0 does not change an earlier one"},
};

constexpr std::string_view kSetDescription =
        "Configures the event type EVENT. The daemon builds records only of event types that are "
        "configured and enabled. Of an event type that the daemon knows ('kavelctl status'), only "
        "the given settings change, so '--disable' alone works; otherwise the others get their "
        "defaults.\n"
        "The daemon stores the settings within 2 seconds, or the output says that they are queued "
        "for it; the exit code is 0 in both cases.";

/** Maximum time until the daemon has stored settings. */
constexpr std::chrono::seconds kStorePatience(2);
constexpr std::chrono::milliseconds kStorePause(20);
/** Minimum number of questions about it: a busy machine can stop this program for longer. */
constexpr int kStoreLooks = 10;

/** Returns how many requests with settings the daemon has handled. */
uint64_t handledSettings(const Json::Value& status) {
    uint64_t handled = 0;
    for (const char* const key : {"settings", "refusedSettings"}) {
        const Json::Value& count = status["counts"][key];
        if (count.isUInt64()) handled += count.asUInt64();
    }
    return handled;
}

/**
 * Waits until the daemon has handled more requests than @p before: the call is one-way, and the
 * next set would read the old settings. Returns false if it has not, or does not say so.
 */
bool awaitStored(uint64_t before) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + kStorePatience;
    try {
        for (int looks = 1; handledSettings(readStatus()) <= before; ++looks) {
            if (looks >= kStoreLooks && Clock::now() >= end) return false;
            std::this_thread::sleep_for(kStorePause);
        }
    } catch (const CommandError&) {
        return false;
    }
    return true;
}

/**
 * Returns the settings that the daemon has for @p eventId; nullopt if it has none.
 *
 * @throws CommandError if its status does not show them
 */
std::optional<EventSettings> currentSettings(const Json::Value& status, int64_t eventId) {
    for (const Json::Value& type : status["eventTypes"]) {
        if (!type["id"].isString() || findEventId(type["id"].asString()) != eventId) continue;
        return EventSettings{eventId,
                             type["name"].isString() ? type["name"].asString() : "",
                             type["enabled"].isBool() && type["enabled"].asBool(),
                             type["frequency"].isInt64() ? type["frequency"].asInt64() : 0,
                             type["windowMs"].isInt64() ? type["windowMs"].asInt64() : 0,
                             type["recoverId"].isInt64() ? type["recoverId"].asInt64() : 0};
    }
    const Json::Value& count = status["eventTypeCount"];
    if (count.isUInt() && count.asUInt() > status["eventTypes"].size()) {
        throw CommandError("the daemon shows only " + std::to_string(status["eventTypes"].size()) +
                           " of its " + std::to_string(count.asUInt()) +
                           " event types, and not this one; with --name, set replaces all of its "
                           "settings");
    }
    return {};
}

/** Replaces in @p settings what the user gave. */
void changeSettings(const Arguments& arguments, EventSettings& settings) {
    if (arguments.has("enable")) settings.enabled = true;
    if (arguments.has("disable")) settings.enabled = false;
    settings.frequency = arguments.number("freq", 0, kMaxInt64, settings.frequency);
    settings.windowMs = arguments.number("window", 0, kMaxInt64, settings.windowMs);
    settings.recoverId = arguments.number("recover-id", kMinInt64, kMaxInt64, settings.recoverId);
    if (!arguments.has("name")) return;
    settings.name = arguments.text("name");
    // The daemon stores a name only in a call without a recover id, which keeps an earlier one.
    if (!arguments.has("recover-id")) settings.recoverId = 0;
}

int runSet(const Arguments& arguments, const Output& output) {
    const int64_t eventId = parseEventId(arguments.operands.front());
    if (arguments.has("enable") && arguments.has("disable")) {
        throw UsageError("--enable and --disable exclude each other");
    }
    EventSettings settings{eventId, "", true, 0, kDefaultWindowMs, 0};
    changeSettings(arguments, settings);  // finds wrong values before the daemon is asked
    const bool isComplete = arguments.has("name") || settings.recoverId != 0;
    std::optional<uint64_t> before;  // requests that the daemon has handled so far
    try {
        const Json::Value status = readStatus();
        before = handledSettings(status);
        if (const auto current = currentSettings(status, eventId)) {
            settings = *current;
            changeSettings(arguments, settings);
        } else if (!isComplete) {
            throw UsageError("--name is missing: the daemon does not know this event type yet");
        }
    } catch (const CommandError& error) {
        if (!isComplete) throw;
        output.note() << "what is not given gets its default, because the current settings cannot "
                         "be read: "
                      << error.what() << '\n';
    }
    if (settings.recoverId != 0 && arguments.has("name")) {
        output.note() << "an event type with a recover id gets no name: the daemon keeps the name "
                         "that it had, if any\n";
    }
    sendSettings(settings);
    const bool isStored = before && awaitStored(*before);
    output.out << "event type " << hexText(static_cast<uint64_t>(settings.eventId))
               << (settings.enabled ? ": enabled" : ": disabled") << ", window "
               << settings.windowMs << " ms" << (isStored ? "" : "; queued for the daemon") << '\n';
    return kExitOk;
}

constexpr Option kSendOptions[] = {
        {"log-info", "MASK",
         "which logs to collect: a number, or names of log bits joined by \",\" or \"|\" "
         "(default: 0; must fit a signed 32-bit number; 'kavelctl explain MASK' shows what a mask "
         "collects)"},
        {"pid", "N", "process id (default: 0)"},
        {"uid", "N", "user id (default: 0)"},
        {"process", "P", "process name"},
        {"version", "V", "version of its package"},
        {"type", "T",
         "sub-type of the event; for 0x10000001 the state of the ANR: end, dialog, closeUser, or "
         "any other text for its start"},
        {"extra", "TEXT", "the whole extra text, in place of the three options above"},
};

constexpr std::string_view kSendDescription =
        "Reports one event of the type EVENT, as the framework would.\n"
        "'kavelctl explain --event EVENT' says which parts the extra text of the event type has; "
        "if there are several, each is required. The daemon drops any other extra text.\n"
        "The call is one-way: exit code 0 means that it is queued for the daemon, not that the "
        "event type is enabled or that a catch began.";

ExtraText extraText(int64_t eventId, const Arguments& arguments) {
    const auto given = [&](std::string_view option) -> std::optional<std::string> {
        if (!arguments.has(option)) return std::nullopt;
        return arguments.text(option);
    };
    const ExtraFields fields{given("process"), given("version"), given("type")};
    const auto whole = given("extra");
    if (!whole) return buildExtraText(eventId, fields);
    if (fields.process || fields.version || fields.type) {
        throw UsageError("--extra replaces --process, --version and --type: give only one of them");
    }
    return wholeExtraText(eventId, *whole);
}

int runSend(const Arguments& arguments, const Output& output) {
    EventReport report{};
    report.eventId = parseEventId(arguments.operands.front());
    report.logInfo = parseReportMask(arguments.value("log-info").value_or("0"));
    report.pid = static_cast<int32_t>(arguments.number("pid", 0, kMaxInt32, 0));
    report.uid = static_cast<int32_t>(arguments.number("uid", 0, kMaxInt32, 0));
    const ExtraText extra = extraText(report.eventId, arguments);
    report.extraText = extra.text;

    if (!extra.note.empty()) output.note() << extra.note << '\n';
    sendReport(report);
    output.out << "event type " << hexText(static_cast<uint64_t>(report.eventId)) << ", log-info "
               << hexText(static_cast<uint32_t>(report.logInfo)) << "; queued for the daemon\n";
    return kExitOk;
}

}  // namespace

const Command kSetCommand{"set",           "EVENT",     "configure an event type",
                          kSetDescription, kSetOptions, runSet};

const Command kSendCommand{"send",           "EVENT",      "report an event",
                           kSendDescription, kSendOptions, runSend};

}  // namespace android::kavel::tools
