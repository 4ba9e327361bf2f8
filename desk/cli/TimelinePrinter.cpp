#include "desk/cli/TimelinePrinter.h"

#include <fmt/core.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "desk/parse/Printable.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

constexpr std::string_view kLevels = "?VDIWEF";

std::string_view levelOf(const Record& record) {
    return kLevels.substr(static_cast<size_t>(record.level), 1);
}

std::string isoTime(int64_t utcNs, int32_t offsetSeconds, std::string_view zone) {
    std::string text = timeText(utcNs, offsetSeconds);
    text[text.find(' ')] = 'T';
    return text.append(zone);
}

const std::string& fileOf(const TimelineEntry& entry) {
    return entry.incident->evidence.files[entry.record->place.file].name;
}

std::string labelOf(const TimelineEntry& entry) {
    if (entry.mark->fromNs == entry.mark->toNs) return entry.mark->label;
    return entry.mark->label + (entry.isEnd ? " ends" : " begins");
}

/** Calls @p print for @p text in pieces: a line can be as long as all that is kept of a file. */
template <typename Print>
void inPieces(std::string_view text, Print print) {
    constexpr size_t kPiece = 64 << 10;
    constexpr size_t kLongestCharacter = 4;
    while (!text.empty()) {
        size_t size = std::min(text.size(), kPiece);
        // A character of UTF-8 stays whole; bytes that are none can be cut anywhere.
        for (size_t i = 1; size < text.size() && i < kLongestCharacter; ++i) {
            if ((static_cast<unsigned char>(text[size]) & 0xC0U) != 0x80) break;
            --size;
        }
        print(text.substr(0, size));
        text.remove_prefix(size);
    }
}

Json::Value textValue(std::string_view text) {
    return {text.data(), text.data() + text.size()};
}

std::string jsonText(const Json::Value& value) {
    // Escapes all but ASCII, and replaces bytes that are not UTF-8.
    static const Json::StreamWriterBuilder kSettings = [] {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "";
        return settings;
    }();
    return Json::writeString(kSettings, value);
}

/** Prints one line: @p json and then the members @p texts, which can be long. */
void printJson(Json::Value json,
               std::initializer_list<std::pair<std::string_view, std::string_view>> texts = {}) {
    json["format"] = 1;
    std::string object = jsonText(json);
    object.pop_back();
    fmt::print("{}", object);
    for (const auto& [name, text] : texts) {
        fmt::print(",\"{}\":\"", name);
        inPieces(text, [](std::string_view piece) {
            const std::string quoted = jsonText(textValue(piece));
            fmt::print("{}", std::string_view(quoted).substr(1, quoted.size() - 2));
        });
        fmt::print("\"");
    }
    fmt::print("}}\n");
}

}  // namespace

void printAsText(const TimelineEntry& entry, bool withArchive) {
    const Incident& incident = entry.incident->evidence.incident;
    std::string line = timeText(entry.utcNs, 0) + "  " +
                       timeText(entry.utcNs, incident.utcOffsetSeconds).substr(11) + "  ";
    if (withArchive) line += incident.archive + "  ";
    if (entry.record == nullptr) {
        fmt::print("{}=== {} ===\n", line, printable(labelOf(entry)));
        return;
    }
    const Record& record = *entry.record;
    std::string_view text = textOf(entry.incident->evidence, record);
    line += fmt::format("{:<8}", kindName(record.source));
    if (record.messageAt != 0) {
        const std::string_view tag = text.substr(record.tagAt, record.tagLength);
        line += fmt::format(" {} {:>5} {:>5} {}{}", levelOf(record), record.pid, record.tid, tag,
                            tag.empty() ? "" : ": ");
        text.remove_prefix(record.messageAt);
    } else {
        // Only lines of logs are known by their source alone.
        line += fmt::format(" {}: ", baseName(fileOf(entry)));
    }
    fmt::print("{}", printable(line));
    inPieces(text, [](std::string_view piece) { fmt::print("{}", printable(piece)); });
    fmt::print("\n");
}

void printAsJson(const TimelineEntry& entry) {
    const Incident& incident = entry.incident->evidence.incident;
    const int32_t offset = incident.utcOffsetSeconds;
    Json::Value json;
    json["archive"] = incident.archive;
    json["utc"] = isoTime(entry.utcNs, 0, "Z");
    json["local"] = isoTime(entry.utcNs, offset, offsetText(offset));
    if (entry.record == nullptr) {
        json["mark"] = labelOf(entry);
        printJson(json);
        return;
    }
    const Record& record = *entry.record;
    const std::string_view text = textOf(entry.incident->evidence, record);
    json["source"] = std::string(kindName(record.source));
    json["file"] = fileOf(entry);
    json["line"] = record.place.line;
    if (record.messageAt == 0) {
        printJson(std::move(json), {{"text", text}});
        return;
    }
    json["level"] = record.level == Level::Unknown ? Json::Value()
                                                   : Json::Value(std::string(levelOf(record)));
    json["pid"] = record.pid;
    json["tid"] = record.tid;
    json["tag"] = textValue(text.substr(record.tagAt, record.tagLength));
    printJson(std::move(json), {{"text", text}, {"message", text.substr(record.messageAt)}});
}

void printProblemsAsJson(const IncidentData& incident) {
    for (const Problem& problem : problemsOf(incident)) {
        Json::Value json;
        json["archive"] = incident.evidence.incident.archive;
        json["file"] = problem.file;
        json[problem.isNote ? "note" : "problem"] = problem.sentence;
        printJson(json);
    }
}

}  // namespace kaveldesk
