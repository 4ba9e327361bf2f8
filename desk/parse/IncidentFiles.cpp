#include "desk/parse/IncidentFiles.h"

#include <json/reader.h>

#include <charconv>
#include <exception>
#include <limits>
#include <memory>

#include "desk/parse/LogLine.h"

namespace kaveldesk {
namespace {

std::string textAt(const Json::Value& object, const char* key) {
    const Json::Value& value = object[key];
    return value.isString() ? value.asString() : std::string();
}

int32_t numberAt(const Json::Value& object, const char* key) {
    const Json::Value& value = object[key];
    return value.isInt() ? value.asInt() : 0;
}

/** Number in hexadecimal, with or without 0x; 0 if it is not one. */
uint64_t hexadecimal(std::string_view text) {
    if (text.substr(0, 2) == "0x") text.remove_prefix(2);
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

bool parseEvent(std::string_view line, ReportedEvent& event) {
    static const Json::CharReaderBuilder kSettings = [] {
        Json::CharReaderBuilder settings;
        settings["stackLimit"] = 8;  // an event is flat, but for one array
        return settings;
    }();
    const std::unique_ptr<Json::CharReader> reader(kSettings.newCharReader());
    Json::Value json;
    try {
        if (!reader->parse(line.data(), line.data() + line.size(), &json, nullptr)) return false;
    } catch (const std::exception&) {
        return false;
    }
    if (!json.isObject()) return false;
    const std::string utc = textAt(json, "utc");
    Scanner scanner{std::string_view(utc)};
    const std::optional<Stamp> time = takeStamp(scanner);
    if (!time || !time->hasZone || time->year < 0) return false;
    event.time = *time;
    const std::string local = textAt(json, "local");
    Scanner localScanner{std::string_view(local)};
    const std::optional<Stamp> localTime = takeStamp(localScanner);
    if (localTime && localTime->hasZone) event.utcOffsetSeconds = localTime->zoneSeconds;
    const uint64_t id = hexadecimal(textAt(json, "eventId"));
    event.eventId = id <= INT64_MAX ? static_cast<long>(id) : 0;
    event.mask = static_cast<uint32_t>(hexadecimal(textAt(json, "mask")) & UINT32_MAX);
    event.pid = numberAt(json, "pid");
    event.uid = numberAt(json, "uid");
    event.name = textAt(json, "name");
    event.process = textAt(json, "process");
    event.version = textAt(json, "version");
    event.type = textAt(json, "type");
    return true;
}

/** Text behind the last @p key in @p line; ends before the last @p next, if that is not empty. */
std::string_view behind(std::string_view line, std::string_view key, std::string_view next) {
    const size_t at = line.rfind(key);
    if (at == std::string_view::npos) return {};
    const std::string_view rest = line.substr(at + key.size());
    return next.empty() ? rest : rest.substr(0, rest.rfind(next));
}

// From the right: the name of an event can hold commas and colons.
bool parseHistoryLine(std::string_view line, ReportedEvent& event) {
    constexpr std::string_view kType = "EventType:";
    constexpr std::string_view kTime = ",Timestamp:";
    constexpr std::string_view kMask = ",loginfo:";
    const size_t time = line.rfind(kTime);
    if (line.substr(0, kType.size()) != kType || time == std::string_view::npos) return false;
    const std::optional<Stamp> stamp = parseNameTime(behind(line, kTime, kMask));
    if (!stamp) return false;
    event.time = *stamp;
    event.name = line.substr(kType.size(), time - kType.size());
    event.mask = static_cast<uint32_t>(hexadecimal(behind(line, kMask, ",eventID:")) & UINT32_MAX);
    return true;
}

std::vector<ReportedEvent> parseLines(std::string_view text,
                                      bool (*parse)(std::string_view, ReportedEvent&)) {
    std::vector<ReportedEvent> events;
    uint32_t number = 0;
    for (size_t position = 0; position < text.size();) {
        ReportedEvent event;
        event.line = ++number;
        if (parse(takeLine(text, position), event)) events.push_back(std::move(event));
    }
    return events;
}

}  // namespace

std::vector<ReportedEvent> parseEventsFile(std::string_view text) {
    return parseLines(text, parseEvent);
}

std::vector<ReportedEvent> parseHistory(std::string_view text) {
    return parseLines(text, parseHistoryLine);
}

ExtraInfoTexts parseExtraInfo(std::string_view text) {
    ExtraInfoTexts info;
    const struct {
        std::string_view key;
        std::string& value;
    } kKeys[] = {{"[PackageName]:", info.process},
                 {"[PackageVersion]:", info.version},
                 {"[eventType]:", info.type}};
    for (size_t position = 0; position < text.size();) {
        const std::string_view line = takeLine(text, position);
        for (const auto& [key, value] : kKeys) {
            if (line.substr(0, key.size()) == key) value = line.substr(key.size());
        }
    }
    return info;
}

}  // namespace kaveldesk
