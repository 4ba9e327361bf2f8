#include "event/ExtraInfo.h"

#include <stdexcept>
#include <string_view>

namespace android::kavel {
namespace {

constexpr std::string_view kProcessName = "processName";
constexpr std::string_view kPackageVersion = "packageVersion";
constexpr std::string_view kEventType = "eventType";

// Distances from the start of a key to what follows it: the key and its colon, and, for the end of
// the text in front of it, also the comma that parts two fields.
constexpr int32_t kAfterProcessName = 12;
constexpr int32_t kAfterPackageVersion = 15;
constexpr int32_t kAfterEventType = 10;
constexpr int32_t kProcessNameFrame = 13;
constexpr int32_t kPackageVersionFrame = 16;

int32_t find(const std::string& text, std::string_view key) {
    const size_t position = text.find(key);
    return position == std::string::npos ? -1 : static_cast<int32_t>(position);
}

int32_t require(int32_t position, std::string_view key) {
    if (position < 0) throw std::out_of_range("extra text has no " + std::string(key));
    return position;
}

/** A negative length is, as an unsigned count, longer than any text: up to the end. */
std::string cut(const std::string& text, int32_t start, int32_t length) {
    return text.substr(static_cast<size_t>(start), static_cast<size_t>(int64_t{length}));
}

constexpr int32_t kToTheEnd = -1;

}  // namespace

ExtraTextForm extraTextForm(int64_t eventId) {
    switch (eventId) {
        case 0x1:
        case 0x2:
        case 0x4:
        case 0x101:
        case 0x103:
        case 0x106:
            return ExtraTextForm::Whole;
        case 0x3:
        case 0x602:
        case 0x702:
            return ExtraTextForm::ProcessVersion;
        case 0x5:
        case 0x601:
        case 0x701:
            return ExtraTextForm::ProcessVersionType;
        case kFirstRecoverableEvent:
            return ExtraTextForm::ProcessType;
        default:
            return ExtraTextForm::Dropped;
    }
}

KavelExtraInfo parseExtraInfo(const std::string& text, int64_t eventId) {
    const int32_t process = find(text, kProcessName);
    const int32_t version = find(text, kPackageVersion);
    const int32_t type = find(text, kEventType);

    KavelExtraInfo info;
    // The length of the process name is counted from the start of the text, not from its key, and
    // always up to the version's key. Every reporter opens the text with the process name, so the
    // two agree; reporters rely on the arithmetic as it is.
    const auto processName = [&] {
        return cut(text, require(process, kProcessName) + kAfterProcessName,
                   version - kProcessNameFrame);
    };
    switch (extraTextForm(eventId)) {
        case ExtraTextForm::Whole:
            info.processName = text;
            break;
        case ExtraTextForm::ProcessVersion:
            info.packageVersion =
                    cut(text, require(version, kPackageVersion) + kAfterPackageVersion, kToTheEnd);
            info.processName = processName();
            break;
        case ExtraTextForm::ProcessVersionType:
            info.packageVersion =
                    cut(text, require(version, kPackageVersion) + kAfterPackageVersion,
                        require(type, kEventType) - version - kPackageVersionFrame);
            info.processName = processName();
            info.eventType = cut(text, type + kAfterEventType, kToTheEnd);
            break;
        case ExtraTextForm::ProcessType:
            info.eventType = cut(text, require(type, kEventType) + kAfterEventType, kToTheEnd);
            info.processName = processName();
            break;
        case ExtraTextForm::Dropped:
            break;
    }
    return info;
}

}  // namespace android::kavel
