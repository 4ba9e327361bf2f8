#include "handler/VariantPolicy.h"

#include <string>
#include <utility>

#include <android-base/properties.h>

#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {

using base::GetProperty;

namespace {

bool contains(const std::string& text, const char* word) {
    return text.find(word) != std::string::npos;
}

/** Reads what kind of build this is. A missing property is an empty text. */
BuildStatus classifyBuild() {
    BuildStatus build;
    const std::string romVersion = GetProperty("ro.build.version.dravorom", "");
    build.isPreVersion = contains(GetProperty("ro.build.version.ota", ""), "PRE") ||
                         contains(romVersion, "Alpha") || contains(romVersion, "Beta");
    build.isReleaseVersion = GetProperty("ro.build.release_type", "") == "true";
    build.isCtaVersion = GetProperty("persist.sys.cta", "") == "true";
    build.isCommercialVersion =
            build.isReleaseVersion && !build.isCtaVersion && !build.isPreVersion;
    return build;
}

/** Reads and logs what kind of build this is. */
BuildStatus logBuild() {
    // Tools that read the log depend on the spelling "checkSystemVerion".
    const TraceSection trace("checkSystemVerion");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel checkSystemVerion]: checkSystemVerion.\n");
    BuildStatus build = classifyBuild();
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel checkSystemVerion]: isCommercialVersion:%d, isReleaseVersion:%d, "
               "isInteractiveRomAction:%d, isPreVersion:%d, isCtaVersion:%d,.\n",
               build.isCommercialVersion, build.isReleaseVersion, build.isInteractiveRomAction,
               build.isPreVersion, build.isCtaVersion);
    return build;
}

/** Reads the two debug properties, and decides. */
void applyDebugProperties(BuildStatus* build) {
    build->panicEnableMask = GetProperty("sys.kavel.panic_enable_mask", "false");
    build->userPanicForDebug = GetProperty("persist.kavel.user_panic_for_debug", "false");
    // The first property can only turn commercial handling off, and the second can only turn it on.
    build->systemVersion = build->isCommercialVersion;
    if (contains(build->panicEnableMask, "false")) {
        build->systemVersion = KAVEL_SYSTEM_VERSION_TRAIL;
    }
    if (contains(build->userPanicForDebug, "true")) {
        build->systemVersion = KAVEL_SYSTEM_VERSION_FORMAL;
    }
}

/** Logs a line for each of the two words that @p value contains, even if it has no effect. */
void logDebugProperty(const std::string& value, const char* name) {
    // Test departments rely on this.
    for (const auto& [word, version] : {std::pair("true", "FORMAL"), std::pair("false", "TRAIL")}) {
        if (!contains(value, word)) continue;
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelVersionSwitch]: KAVEL_SYSTEM_VERSION_%s by sys.kavel.%s.\n",
                   version, name);
    }
}

}  // namespace

BuildStatus buildStatus() {
    BuildStatus build = classifyBuild();
    applyDebugProperties(&build);
    return build;
}

VariantPolicy::VariantPolicy() : mSystemVersion(checkSystemVerion()) {
    getOtaVersion();
}

bool VariantPolicy::checkSystemVerion() {
    return logBuild().isCommercialVersion;
}

void VariantPolicy::getOtaVersion() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getOtaVersion]: getOtaVersion.\n");
    GetProperty("ro.build.version.ota", "");
}

void VariantPolicy::kavelVersionSwitch() {
    const TraceSection trace("kavelVersionSwitch");
    BuildStatus build = logBuild();
    applyDebugProperties(&build);
    logDebugProperty(build.panicEnableMask, "panic_enable_mask");
    // Its line omits the "persist.".
    logDebugProperty(build.userPanicForDebug, "user_panic_for_debug");
    mSystemVersion = build.systemVersion;
}

}  // namespace android::kavel
