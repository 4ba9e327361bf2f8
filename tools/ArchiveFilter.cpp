#include "tools/ArchiveFilter.h"

#include <algorithm>

#include "event/EventTypes.h"
#include "tools/ArchiveReport.h"
#include "tools/Quantities.h"
#include "tools/Values.h"

namespace android::kavel::tools {

ArchiveFilter::ArchiveFilter(const Arguments& arguments)
      : mEvent(arguments.value("event")),
        mProcess(arguments.value("process")),
        mSinceMs(INT64_MIN),
        mUntilMs(INT64_MAX) {
    const int64_t nowMs = wallClockMs();
    if (mEvent) {
        mEventId = parseInteger(*mEvent);
        if (!mEventId) mFirstId = findEventId(*mEvent);
    }
    if (const auto since = arguments.value("since")) {
        mSinceMs = parseTime("--since", *since, nowMs);
    }
    if (const auto until = arguments.value("until")) {
        mUntilMs = parseTime("--until", *until, nowMs);
    }
}

bool ArchiveFilter::isEvent(const Json::Value& event) const {
    if (event["name"].asString() == *mEvent) return true;
    // Ids are written as unsigned numbers.
    const std::string text = event["eventId"].asString();
    const int64_t id = static_cast<int64_t>(std::strtoull(text.c_str(), nullptr, 0));
    if (mEventId) return id == *mEventId;
    return mFirstId && eventTypeOf(id).ids.first == *mFirstId;
}

bool ArchiveFilter::matches(const Archive& archive) const {
    const std::vector<Json::Value>& events = archive.events.events;
    if (mEvent && archive.subject.event != *mEvent &&
        std::none_of(events.begin(), events.end(),
                     [&](const auto& each) { return isEvent(each); })) {
        return false;
    }
    if (!mProcess) return true;
    const std::vector<std::string> names = processNames(archive);
    return std::find(names.begin(), names.end(), *mProcess) != names.end();
}

}  // namespace android::kavel::tools
