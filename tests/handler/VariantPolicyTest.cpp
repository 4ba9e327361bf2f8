#include "handler/VariantPolicy.h"

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

void setBuild(const BuildProperties& build) {
    base::SetProperty("ro.build.version.ota", build.otaVersion);
    base::SetProperty("ro.build.release_type", build.releaseType);
    base::SetProperty("persist.sys.cta", build.cta);
    base::SetProperty("ro.build.version.dravorom", build.romVersion);
}

// Would catch a test of the wrong property, of the wrong case, or of a part instead of the whole.
TEST(VariantPolicy, BuildIsClassified) {
    fake::captureLog();
    struct {
        BuildProperties build;
        const char* flags;  // commercial, release, interactive ROM action, pre, CTA
    } const rows[] = {
            {{"PX_11", "true", "", "V14"}, "1, 1, 0, 0, 0"},
            {{"", "true", "false", ""}, "1, 1, 0, 0, 0"},
            {{"PX_PRE_1", "true", "", ""}, "0, 1, 0, 1, 0"},
            {{"PX_pre_1", "true", "", "beta alpha PRE"}, "1, 1, 0, 0, 0"},
            {{"Beta", "true", "", "V14Beta2"}, "0, 1, 0, 1, 0"},
            {{"", "true", "", "Alpha"}, "0, 1, 0, 1, 0"},
            {{"", "true", "true", ""}, "0, 1, 0, 0, 1"},
            {{"", "true ", "true ", ""}, "0, 0, 0, 0, 0"},
            {{"", "TRUE", "", ""}, "0, 0, 0, 0, 0"},
            {{"", "", "", ""}, "0, 0, 0, 0, 0"},
            {{"PRE", "true", "true", "Beta"}, "0, 1, 0, 1, 1"},
    };
    for (const auto& row : rows) {
        setBuild(row.build);
        fake::clearLog();
        EXPECT_EQ(VariantPolicy::checkSystemVerion(), row.flags[0] == '1');
        char line[200];
        snprintf(line, sizeof(line),
                 "isCommercialVersion:%c, isReleaseVersion:%c, isInteractiveRomAction:%c, "
                 "isPreVersion:%c, isCtaVersion:%c,.\n",
                 row.flags[0], row.flags[3], row.flags[6], row.flags[9], row.flags[12]);
        EXPECT_EQ(fake::logCount(line), 1u) << line;
    }
}

// Would catch a property that gains or loses the direction in which it may decide.
TEST(VariantPolicy, DebugPropertiesOverrideTheBuild) {
    fake::captureLog();
    struct {
        bool commercial, formal;
        const char* panicMask;
        const char* userDebug;
        const char* lines;  // FORMAL and TRAIL by the one, then by the other
    } const rows[] = {
            {true, false, "", "", "0101"},           {false, false, "", "", "0101"},
            {true, true, "true", "", "1001"},        {false, false, "true", "", "1001"},
            {true, true, "x", "x", "0000"},          {false, false, "x", "x", "0000"},
            {false, true, "", "true", "0110"},       {true, true, "false", "true", "0110"},
            {true, false, "truefalse", "x", "1100"}, {false, true, "x", "falsetrue", "0011"},
            {true, true, "TRUE", "FALSE", "0000"},   {true, true, "x", "false", "0001"},
    };
    for (const auto& row : rows) {
        setBuild({"", row.commercial ? "true" : "", "", ""});
        base::SetProperty("sys.kavel.panic_enable_mask", row.panicMask);
        base::SetProperty("persist.kavel.user_panic_for_debug", row.userDebug);
        VariantPolicy policy;
        EXPECT_EQ(policy.systemVersion(), row.commercial);
        fake::clearLog();
        policy.kavelVersionSwitch();
        EXPECT_EQ(policy.systemVersion(), row.formal) << row.panicMask << ' ' << row.userDebug;
        const char* seen = row.lines;
        for (const char* const by :
             {"sys.kavel.panic_enable_mask", "sys.kavel.user_panic_for_debug"}) {
            for (const char* const version : {"FORMAL by ", "TRAIL by "}) {
                EXPECT_EQ(fake::logCount(std::string("]: KAVEL_SYSTEM_VERSION_") + version + by +
                                         ".\n"),
                          *seen++ == '1' ? 1u : 0u)
                        << version << by;
            }
        }
    }
    setBuild({});
    base::SetProperty("sys.kavel.panic_enable_mask", "");
    base::SetProperty("persist.kavel.user_panic_for_debug", "");
}

}  // namespace
}  // namespace android::kavel
