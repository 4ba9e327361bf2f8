// The texts that the tool reads and prints.
//
// Would catch history lines and subjects cut in the wrong place, and foreign lines that are
// believed; a daemon whose names this reader does not read back; an event that is lost for a key of
// a later version, and a line that passes for an event although a key is missing or wrong; text
// that the phone's JSON library, which has no exceptions, ends the process for; control sequences
// that get to a terminal, and plain text that is changed.

#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "dump/LogFolderName.h"
#include "tools/ArchiveName.h"
#include "tools/EventLines.h"
#include "tools/JsonLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr const char* kTime = "2024-03-07-09-05-02-007";

TEST(Texts, HistoryIsParsedFromItsEnd) {
    std::ostringstream read;
    for (const HistoryLine& each : parseHistory(
                 "EventType:anr,Timestamp:T,loginfo:103b,eventID:77\nnoise\n"
                 "EventType:a,eventID:1,Timestamp:x,b,Timestamp:T,loginfo:80000000,"
                 "eventID:2147483647\n"
                 "EventType:a,Timestamp:T,loginfo:g,eventID:1\n"
                 "EventType:a,Timestamp:T,loginfo:1ffffffff,eventID:1\n"
                 "EventType:a,Timestamp:T,loginfo:1,eventID:\nEventType:a,Timestamp:T,loginfo:1\n"
                 "EventType:a,loginfo:1,eventID:1\nEventType:a,Timestamp:T,eventID:1\n"
                 "Type:a,Timestamp:T,loginfo:1,eventID:1\nEventType:,Timestamp:,loginfo:0,eventID:"
                 "0")) {
        read << '[' << each.eventName << "] [" << each.time << "] " << std::hex << each.logInfo
             << ' ' << std::dec << each.recordId << '\n';
    }
    EXPECT_EQ(
            read.str(),
            "[anr] [T] 103b 77\n[a,eventID:1,Timestamp:x,b] [T] 80000000 2147483647\n[] [] 0 0\n");
}

// By the history's line of the same time if it fits, else at the last "_" before a dot.
TEST(Texts, ArchiveNameIsSplitIntoEventAndProcess) {
    const std::array<const char*, 5> cases[] = {
            // event, process, the history's event and time, what is read
            {"ui_anr", "com.a/b", "ui_anr", kTime, "ui_anr, com.a_b"},
            {"ui_anr", "com.a_b", "ui_anr", "2020-01-01-00-00-00-000", "ui_anr, com.a_b"},
            {"ui_anr", "com.a_b", "other", kTime, "ui_anr, com.a_b"},
            {"a/b", "system", "a/b", kTime, "a_b, system"},
            {"", "system", "", kTime, ", system"},
            {"ui_anr", "system", "other", kTime, "ui_anr, system"},
            {"a.b", "x", "other", kTime, "a.b, x"},
            {"anr", "empty", "anr", kTime, "anr, "},
            {"_", "x_system", "_", kTime, "_, x_system"},
    };
    for (const auto& [event, process, historyEvent, historyTime, expected] : cases) {
        const std::string folder = logFolderName({event, process, 1, "V1", kTime});
        const Subject read = splitSubject(parseArchiveName(folder + kArchiveSuffix).value(),
                                          {{"x", kTime, 1, 2}, {historyEvent, historyTime, 1, 2}});
        EXPECT_EQ(read.event + ", " + read.process, expected);
    }
}

// The C library's answer would depend on the locale.
TEST(Texts, WidthIsThatOnATerminal) {
    const std::pair<const char*, size_t> cases[] = {
            {"", 0},
            {"a_b", 3},
            {"\xff\xc3", 2},
            {"\u00fc", 1},
            {"u\u0308", 1},
            {"\u7a7a\u304a", 4},
            {"\U0001f600!", 3},
            {"\u115f\u1160", 3},
            {"\u20ac\u2e7f", 2},
            {"\u1100\u2e80\u3041\u309b\u4e00\ua960", 12},
            {"\uac00\uf900\ufe30\uff00\uffe0\U0001f680", 12},
            {"\u0483\u0591\u0610\u064b\u0e34\u0e47\u200b\u2060\u20d0\u3099\ufe00\ufe20\ufeff", 0},
            {"\U0001f300\U0001f900\U00020000", 6},
            {"\uff60\uff61", 3},
    };
    for (const auto& [text, width] : cases) EXPECT_EQ(displayWidth(text), width) << text;
}

const std::string kLine =
        R"({"utc":"2026-11-21T07:33:31.583Z","local":"2026-11-21T08:33:31.583+01:00",)"
        R"("recordId":-7,"eventId":"0x101","name":"anr","pid":12,"uid":10010,)"
        R"("process":"com.a","version":"1[","type":"t","mask":"0x13"})";

std::string with(const std::string& part, const std::string& replacement) {
    std::string line = kLine;
    return line.replace(line.find(part), part.size(), replacement);
}

TEST(Texts, EventLinesAreAllOrNothing) {
    const auto event = parseEventLine(with(R"("pid":12)", R"("pid":12,"new":[{}])"));
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ((*event)["process"].asString(), "com.a");
    EXPECT_EQ((*event)["recordId"].asInt64(), -7);
    EXPECT_TRUE((*event)["new"].isArray());
    for (const EventKey& key : kEventKeys) {
        const std::string name = '"' + std::string(key.name) + '"';
        EXPECT_FALSE(parseEventLine(with(name, "\"other\"")).has_value()) << name;
        EXPECT_FALSE(parseEventLine(with(name + ":", name + ":null,\"o\":")).has_value()) << name;
    }
    for (const std::string& line : {std::string("[]"), kLine + kLine, kLine.substr(1),
                                    with("12", "18446744073709551615"), with("12", "\"12\"")}) {
        EXPECT_FALSE(parseEventLine(line).has_value()) << line;
    }
    const EventLines lines = parseEventLines(kLine + "\njunk\n\n" + kLine);
    EXPECT_EQ(lines.events.size(), 2U);
    EXPECT_EQ(lines.malformed, (std::vector<std::string>{"junk", ""}));
}

TEST(Texts, JsonIsNotNestedTooDeeply) {
    const auto nested = [](size_t depth, const std::string& inside = "") {
        return "{\"a\":" + std::string(depth - 1, '[') + inside + std::string(depth - 1, ']') + "}";
    };
    EXPECT_TRUE(parseJsonObject(nested(kMaxJsonDepth)).has_value());
    EXPECT_TRUE(parseJsonObject(nested(kMaxJsonDepth, R"("\"[[{{\\")")).has_value());
    EXPECT_FALSE(parseJsonObject(nested(kMaxJsonDepth + 1)).has_value());
    EXPECT_FALSE(parseJsonObject("{\"a\":" + std::string(1'000'000, '[')).has_value());
    for (const std::string before : {"", "\"[\\\"\"", "\"\\\\\"", "]]]]", "[[}}"}) {
        EXPECT_TRUE(isNestedDeeper(before + "[{[", 2)) << before;
        EXPECT_FALSE(isNestedDeeper(before + "[][]{}\"[[[\"", 2)) << before;
    }
}

TEST(Texts, ControlCharactersAreEscaped) {
    const std::pair<std::string, std::string> cases[] = {
            {"$(touch /data/x) \\ä€😀\xe0\xa0\x80\xf0\x90\x80\x80", ""},  // as it is
            {"a\x1b[2Jb\n\x1f ", "a\\x1b[2Jb\\x0a\\x1f "},
            {"~\x7f\xc2\x80\xc2\xa0", "~\\x7f\\xc2\\x80\xc2\xa0"},
            {"\xc2\x9f!", "\\xc2\\x9f!"},
            {"\u200f\u202e\u2066 \u2069\u202c\u2027",
             "\\xe2\\x80\\x8f\\xe2\\x80\\xae\\xe2\\x81\\xa6 \\xe2\\x81\\xa9\\xe2\\x80\\xac\u2027"},
            {"\x9b\xff \xe2\x82", "\\x9b\\xff \\xe2\\x82"},
            {"\xed\xa0\x80 \xed\xbf\xbf", "\\xed\\xa0\\x80 \\xed\\xbf\\xbf"},
            {"\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf", ""},
            {"\xc0\x80 \xe0\x9f\xbf", "\\xc0\\x80 \\xe0\\x9f\\xbf"},
            {"\xf4\x90\x80\x80\xf0\x8f\xbf\xbf", "\\xf4\\x90\\x80\\x80\\xf0\\x8f\\xbf\\xbf"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(printable(text), expected.empty() ? text : expected);
    }
}

TEST(Texts, SizesHaveAUnit) {
    EXPECT_EQ(sizeText(1023) + sizeText(1024), "1023 B1.0 KiB");
    EXPECT_EQ(sizeText(uint64_t{5} << 29), "2.5 GiB");
    EXPECT_EQ(sizeText(uint64_t{1} << 50), "1024.0 TiB");
}

}  // namespace
}  // namespace android::kavel::tools
