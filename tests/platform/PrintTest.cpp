#include <cerrno>
#include <string>

#include <gtest/gtest.h>
#include <log/log.h>

#include "platform/CheckedCast.h"
#include "platform/KavelPrint.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"

namespace android::kavel {
namespace {

using fake::captureLog;

std::string printed(const std::string& ota, const std::string& text) {
    fake::setProperty("ro.build.version.ota", ota);
    captureLog();
    fake::clearLog();
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s", text.c_str());
    const auto lines = fake::logLines();
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines.front().priority, ANDROID_LOG_INFO);
    EXPECT_EQ(lines.front().tag, program_invocation_short_name);  // liblog's choice for no tag
    return lines.front().text;
}

// Would catch a version text that leaks, a rescan of the replacement, and a cut after masking.
TEST(KavelPrint, HidesTheOtaVersion) {
    struct {
        std::string ota, text, expected;
    } const rows[] = {
            {"PX_11", "build PX_11", "build *"},
            {"PX_11", "PX_11PX_11 and PX_1", "** and PX_1"},
            {"", "a default line, default", "a * line, *"},
            {"*", "a*b**", "a*b**"},
            {"aa", "aaaaa", "**a"},
            {"a*", "aa*", "a*"},
            {"PX_11", std::string(2000, 'x'), std::string(1023, 'x')},
            {"PX_11", std::string(1020, 'x') + "PX_11", std::string(1020, 'x') + "PX_"},
            {"PX_11", std::string(1018, 'x') + "PX_11 cut", std::string(1018, 'x') + "*"},
            {"%s%n", "100 %s%n", "100 *"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(printed(row.ota, row.text), row.expected) << row.ota << " in " << row.text;
    }
}

// Would catch an empty secret that never ends the search.
TEST(KavelPrint, MaskingNothingChangesNothing) {
    EXPECT_EQ(maskOccurrences("text", ""), "text");
}

// Would catch a word that is cut in silence, and a limit that is off by one.
TEST(CheckedInt32DeathTest, EndsTheProcessWithALine) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const int64_t fits : {int64_t{0}, int64_t{INT32_MIN}, int64_t{INT32_MAX}}) {
        EXPECT_EQ(checkedInt32("logInfo", fits), fits);
    }
    for (const int64_t lossy : {int64_t{1} << 32, INT32_MAX + int64_t{1}, INT32_MIN - int64_t{1}}) {
        EXPECT_DEATH(checkedInt32("logInfo", lossy),
                     "logInfo " + std::to_string(lossy) + " does not fit a 32-bit integer");
    }
}

}  // namespace
}  // namespace android::kavel
