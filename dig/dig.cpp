#include "dig/dig.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "dig/DigStatus.h"
#include "dig/LineText.h"
#include "dig/LiveEvents.h"
#include "dig/RawRecord.h"
#include "platform/Log.h"

namespace android {

using kavel::LiveEvents;
using kavel::RawRecord;
using kavel::RecordFault;

namespace {

constexpr int32_t kTimeout = 6000;

struct Pattern {
    int64_t id;
    int64_t related;
};

constexpr Pattern kPatterns[] = {
        {0x100300001, 0x100300002},
        {0x100300003, 0x100300002},
        {0x100300006, 0x100300006},
};

std::vector<int64_t> relatedIds() {
    std::vector<int64_t> ids;
    for (const Pattern& pattern : kPatterns) ids.push_back(pattern.related);
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

// Never destroyed: the reader may still use it when the process exits.
std::vector<Event>& baseEvents() {
    static auto* const events = new std::vector<Event>;
    return *events;
}

LiveEvents& liveEvents() {
    static auto* const events = new LiveEvents(relatedIds());
    return *events;
}

/** Logs a line without values, which needs no formatting. */
void logLine(int priority, const char* line) {
    __android_log_write(priority, KAVEL_TAG_SOCKET, line);
}

}  // namespace

void digInit() {
    makeBaseEvets2();
}

// The spelling of the name is required: callers outside use it.
void makeBaseEvets2() {
    baseEvents().reserve(baseEvents().size() + std::size(kPatterns));
    for (const Pattern& pattern : kPatterns) {
        baseEvents().push_back({pattern.id, 0, kTimeout, true, "", {pattern.related}});
    }
}

void digExit() {
    liveEvents().clear();
    kavel::digStatus().liveEvents = 0;
    baseEvents().clear();
}

void sendRawEvent(char* buffer) {
    if (buffer == nullptr) {
        logLine(ANDROID_LOG_INFO, "Kavel sendRawEvent has Null Buff");
        return;
    }
    RawRecord record = kavel::parseRawRecord(buffer);
    ++kavel::digStatus().records;
    if (record.fault != RecordFault::None) ++kavel::digStatus().corrupt;
    switch (record.fault) {
        case RecordFault::TooFewFields:
            logLine(ANDROID_LOG_INFO, "recv_content size < 3, corrupted raw data.");
            return;
        case RecordFault::NotANumber:
            // Tools that read the log depend on the spelling "occured".
            logLine(ANDROID_LOG_INFO, "exception in stoll occured, corrupted raw data.");
            return;
        case RecordFault::None:
            break;
    }
    Event event = data2Event(record.id, record.time, std::move(record.name));
    matchEvent(event);
    queueLiveEvents(event);
}

Event data2Event(long long id, long long time, std::string name) {
    for (const Event& base : baseEvents()) {
        if (base.id != id) continue;
        return {id, time, base.timeout, base.isKeyEvent, std::move(name), base.related};
    }
    return {id, time, kTimeout, false, std::move(name), {}};
}

void matchEvent(Event& now) {
    if (!now.isKeyEvent) {
        logLine(ANDROID_LOG_INFO, "nowEvent is not KeyEvent");
        return;
    }
    const std::optional<int64_t> before = liveEvents().findRelated(now);
    if (!before) return;
    ++kavel::digStatus().freezes;
    logLine(ANDROID_LOG_DEBUG, "found");
    kavel::LineText line;
    // Tools that read the log depend on the spelling "freezen".
    line << "Kavel found freezen event0 ";
    line.hex(now.id) << " event1 ";
    line.hex(*before) << " ";
    logLine(ANDROID_LOG_INFO, line.text().data());
}

void queueLiveEvents(Event& event) {
    liveEvents().queue(event);
    kavel::digStatus().liveEvents = liveEvents().size();
}

}  // namespace android
