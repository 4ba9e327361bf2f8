#include "dig/RawRecord.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

using Tokens = std::vector<std::string>;

// Would catch an empty token, a lost last one, and separators taken for one long separator.
TEST(RawRecord, SplitsAsStrtokDoes) {
    struct {
        std::string text, separators;
        Tokens tokens;
    } const rows[] = {
            {"", ":", {}},
            {":::", ":", {}},
            {"a", ":", {"a"}},
            {"a:b:c", ":", {"a", "b", "c"}},
            {"::a::b:::", ":", {"a", "b"}},
            {" a b ", ":", {" a b "}},
            {"a:b;c", ";:", {"a", "b", "c"}},
            {"a:b", "", {"a:b"}},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        EXPECT_EQ(split(text.data(), row.separators), row.tokens) << row.text;
        EXPECT_EQ(text, row.text) << "the caller's text is not to be cut up";
    }
}

// Would catch a number that is taken for another one, or refused, or not refused.
TEST(RawRecord, Parses) {
    constexpr RecordFault kFew = RecordFault::TooFewFields;
    constexpr RecordFault kNumber = RecordFault::NotANumber;
    struct {
        std::string text;
        RecordFault fault;
        int64_t id, time;
        std::string name;
    } const rows[] = {
            {"4298113025:open:1000", RecordFault::None, 0x100300001, 1000, "open"},
            {"1:a:2:3:x", RecordFault::None, 1, 2, "a"},
            {":1::a:2", RecordFault::None, 1, 2, "a"},
            {"12abc:a: \t-7 8\n", RecordFault::None, 12, -7, "a"},
            {"+5: a :0x10", RecordFault::None, 5, 0, " a "},
            {"9223372036854775807:a:-9223372036854775808", RecordFault::None, INT64_MAX, INT64_MIN,
             "a"},
            {"", kFew, 0, 0, ""},
            {"1:2", kFew, 0, 0, ""},
            {"1::2", kFew, 0, 0, ""},
            {"a:b:", kFew, 0, 0, ""},
            {"abc:def:ghi", kNumber, 0, 0, ""},
            {"1:a:-", kNumber, 0, 0, ""},
            {" :a:1", kNumber, 0, 0, ""},
            {"9223372036854775808:a:1", kNumber, 0, 0, ""},
            {"1:a:-9223372036854775809", kNumber, 0, 0, ""},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        const RawRecord record = parseRawRecord(text.data());
        EXPECT_EQ(record.fault, row.fault) << row.text;
        EXPECT_EQ(record.id, row.id) << row.text;
        EXPECT_EQ(record.time, row.time) << row.text;
        EXPECT_EQ(record.name, row.name) << row.text;
    }
}

}  // namespace
}  // namespace android::kavel
