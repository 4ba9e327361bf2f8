#include "event/ExtraInfo.h"

#include <random>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/fake/Script.h"

namespace android::kavel {
namespace {

std::string show(const std::string& process, const std::string& version, const std::string& type) {
    return "[" + process + "] [" + version + "] [" + type + "]";
}

std::string read(const std::string& text, int64_t eventId) {
    try {
        const KavelExtraInfo info = parseExtraInfo(text, eventId);
        return show(info.processName, info.packageVersion, info.eventType);
    } catch (const std::out_of_range&) {
        return "throws";
    }
}

// Would catch a cut that is off by one, a type whose text is split or kept against its form, a text
// without one of its keys that is refused, and one too short for its keys that becomes a record.
TEST(ExtraInfo, IsReadAsTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/extra_info.txt", [](const test::ScriptLine& line) {
        return read(line.rest(1), line.number(0));
    });
}

/** The rule as reporters know it: (start, length) with the positions P, V and E of the keys. */
std::string readByTheRule(const std::string& text, int64_t id) {
    const auto position = [&](const std::string& key) {
        if (text.size() < key.size()) return -1;
        const size_t found = text.find(key);
        return found == std::string::npos ? -1 : static_cast<int>(found);
    };
    const int P = position("processName");
    const int V = position("packageVersion");
    const int E = position("eventType");
    const auto cut = [&](int start, long length) {
        return text.substr(static_cast<size_t>(start), static_cast<size_t>(length));
    };
    constexpr long kEnd = 1'000'000;
    if (id == 0x1 || id == 0x2 || id == 0x4 || id == 0x101 || id == 0x103 || id == 0x106) {
        return show(text, "", "");
    }
    try {
        if (id == 0x3 || id == 0x602 || id == 0x702) {
            return show(cut(P + 12, V - 13), cut(V + 15, kEnd), "");
        }
        if (id == 0x5 || id == 0x601 || id == 0x701) {
            return show(cut(P + 12, V - 13), cut(V + 15, E - V - 16), cut(E + 10, kEnd));
        }
        if (id == 0x10000001) return show(cut(P + 12, V - 13), "", cut(E + 10, kEnd));
    } catch (const std::out_of_range&) {
        return "throws";
    }
    return show("", "", "");
}

// Would catch a text that is read in another way than the rule says, whatever it holds.
TEST(ExtraInfo, FollowsTheRuleForAnyText) {
    const std::string parts[] = {"processName:",
                                 "packageVersion:",
                                 "eventType:",
                                 "processName",
                                 "packageVersion",
                                 "eventType",
                                 "process",
                                 "Version",
                                 "event",
                                 ",",
                                 ":",
                                 "",
                                 "com.a",
                                 "1.2",
                                 "x,y",
                                 std::string(9, 'z')};
    const int64_t ids[] = {0x3, 0x602, 0x702, 0x5, 0x601, 0x701, 0x10000001, 0x1, 0x106, 0x402};
    std::minstd_rand random(1);
    std::string text;
    size_t refused = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        text.clear();
        for (auto count = random() % 9; count > 0; --count) {
            text += parts[random() % std::size(parts)];
        }
        text.resize(text.size() - random() % (text.size() + 1) / 4);  // cut off within a key
        const int64_t id = ids[random() % std::size(ids)];
        const std::string result = read(text, id);
        ASSERT_EQ(result, readByTheRule(text, id)) << id << " " << text;
        refused += result == "throws" ? 1 : 0;
    }
    EXPECT_GT(refused, 1000U);
}

}  // namespace
}  // namespace android::kavel
