#include "tools/EventLines.h"

#include <gtest/gtest.h>

namespace android::kavel::tools {
namespace {

const std::string kLine =
        R"({"utc":"2026-11-21T07:33:31.583Z","local":"2026-11-21T08:33:31.583+01:00",)"
        R"("recordId":-7,"eventId":"0x101","name":"anr","pid":12,"uid":10010,)"
        R"("process":"com.a","version":"1[","type":"t","mask":"0x13"})";

std::string with(const std::string& part, const std::string& replacement) {
    std::string line = kLine;
    return line.replace(line.find(part), part.size(), replacement);
}

// Catches an event that is lost for a key of a later version, and a line that passes for an event
// although a key is missing or wrong: what prints it relies on them.
TEST(EventLines, AreAllOrNothing) {
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
    for (const std::string& line :
         {std::string(), std::string("{}"), std::string("[]"), kLine + kLine, kLine.substr(1),
          with("12", "18446744073709551615"), with("12", "\"12\"")}) {
        EXPECT_FALSE(parseEventLine(line).has_value()) << line;
    }
    const EventLines lines = parseEventLines(kLine + "\njunk\n\n" + kLine);
    EXPECT_EQ(lines.events.size(), 2U);
    EXPECT_EQ(lines.malformed, (std::vector<std::string>{"junk", ""}));
}

}  // namespace
}  // namespace android::kavel::tools
