#include "tools/ExtraText.h"

#include "event/ExtraInfo.h"
#include "tools/CommandLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

enum class Need { None, Optional, Required };

/** Fields that the extra text of an event type has. */
struct FieldNeeds {
    ExtraTextForm form;
    Need process;
    Need version;
    Need type;
};

constexpr FieldNeeds kNeeds[] = {
        {ExtraTextForm::Dropped, Need::Optional, Need::Optional, Need::Optional},
        {ExtraTextForm::Whole, Need::Optional, Need::None, Need::None},
        {ExtraTextForm::ProcessVersion, Need::Required, Need::Required, Need::None},
        {ExtraTextForm::ProcessVersionType, Need::Required, Need::Required, Need::Required},
        {ExtraTextForm::ProcessType, Need::Required, Need::Optional, Need::Required},
};

const FieldNeeds& needsOf(ExtraTextForm form) {
    for (const FieldNeeds& needs : kNeeds) {
        if (needs.form == form) return needs;
    }
    return kNeeds[0];
}

void check(int64_t eventId, Need need, const char* option,
           const std::optional<std::string>& value) {
    const std::string event = "event type " + hexText(static_cast<uint64_t>(eventId));
    if (need == Need::Required && !value) {
        throw UsageError(event + " needs " + option + " (or the whole text with --extra)");
    }
    if (need == Need::None && value) throw UsageError(event + " does not take " + option);
}

}  // namespace

ExtraText buildExtraText(int64_t eventId, const ExtraFields& fields) {
    const ExtraTextForm form = eventTypeOf(eventId).extraText;
    const FieldNeeds& needs = needsOf(form);
    check(eventId, needs.process, "--process", fields.process);
    check(eventId, needs.version, "--version", fields.version);
    check(eventId, needs.type, "--type", fields.type);

    const std::string process = fields.process.value_or("");
    if (form == ExtraTextForm::Whole) return {process, ""};
    if (form == ExtraTextForm::Dropped && !fields.process && !fields.version && !fields.type) {
        return {};
    }
    // The version's key is in every text, even if the daemon ignores the version: the daemon finds
    // the end of the process name by it.
    ExtraText extra;
    extra.text = "processName:" + process + ",packageVersion:" + fields.version.value_or("");
    if (needs.type != Need::None) extra.text += ",eventType:" + fields.type.value_or("");
    if (form == ExtraTextForm::Dropped) return wholeExtraText(eventId, extra.text);
    if (form == ExtraTextForm::ProcessType && fields.version) {
        extra.note = "the daemon keeps no version for this event type";
    }

    const KavelExtraInfo read = parseExtraInfo(extra.text, eventId);
    const bool keepsVersion = needs.version == Need::Required;
    if (read.processName != process || (keepsVersion && read.packageVersion != *fields.version) ||
        read.eventType != fields.type.value_or("")) {
        throw UsageError(
                "--process, --version or --type contains one of the keys processName, "
                "packageVersion, eventType: the daemon would split the text there");
    }
    return extra;
}

ExtraText wholeExtraText(int64_t eventId, const std::string& text) {
    const bool dropped = eventTypeOf(eventId).extraText == ExtraTextForm::Dropped;
    return {text, dropped ? "the daemon keeps no extra text for this event type" : ""};
}

}  // namespace android::kavel::tools
