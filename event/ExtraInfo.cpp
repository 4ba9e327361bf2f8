#include "event/ExtraInfo.h"

#include <stdexcept>
#include <string_view>

namespace android::kavel {
namespace {

// Lengths: of a key with its colon (kAfter...), and with the comma before it (k...Frame).
constexpr int32_t kAfterProcessName = 12;
constexpr int32_t kAfterPackageVersion = 15;
constexpr int32_t kAfterEventType = 10;
constexpr int32_t kProcessNameFrame = 13;
constexpr int32_t kPackageVersionFrame = 16;

/**
 * Returns the position of @p key; -1 if it is missing. The callers compute with -1 as with any
 * other position.
 */
int32_t find(const std::string& text, std::string_view key) {
    const size_t position = text.find(key);
    return position == std::string::npos ? -1 : static_cast<int32_t>(position);
}

/** A negative length means the rest of the text: as an unsigned count it exceeds any length. */
std::string cut(const std::string& text, int32_t start, int32_t length) {
    if (static_cast<size_t>(start) > text.size()) {
        throw std::out_of_range("the extra text is too short for its keys");
    }
    return text.substr(static_cast<size_t>(start), static_cast<size_t>(int64_t{length}));
}

constexpr int32_t kToTheEnd = -1;

}  // namespace

KavelExtraInfo parseExtraInfo(const std::string& text, int64_t eventId) {
    const int32_t process = find(text, "processName");
    const int32_t version = find(text, "packageVersion");
    const int32_t type = find(text, "eventType");

    // The length of the process name is counted from the start of the text, not from its key, and
    // always to the version's key. Every reporter puts the process name first, so both are the
    // same. Reporters rely on this arithmetic.
    const auto processName = [&] {
        return cut(text, process + kAfterProcessName, version - kProcessNameFrame);
    };
    const auto packageVersion = [&](int32_t length) {
        return cut(text, version + kAfterPackageVersion, length);
    };
    const auto eventType = [&] { return cut(text, type + kAfterEventType, kToTheEnd); };

    switch (eventTypeOf(eventId).extraText) {
        case ExtraTextForm::Whole:
            return {text, "", ""};
        case ExtraTextForm::ProcessVersion:
            return {processName(), packageVersion(kToTheEnd), ""};
        case ExtraTextForm::ProcessVersionType:
            return {processName(), packageVersion(type - version - kPackageVersionFrame),
                    eventType()};
        case ExtraTextForm::ProcessType:
            return {processName(), "", eventType()};
        case ExtraTextForm::Dropped:
            break;
    }
    return {};
}

}  // namespace android::kavel
