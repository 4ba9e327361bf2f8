#include "handler/VariantPolicy.h"

#include <string>

#include <android-base/properties.h>

#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {

using base::GetProperty;

namespace {

/** Properties that determine the kind of the build. */
struct BuildProperties {
    std::string otaVersion;
    std::string releaseType;
    std::string cta;
    std::string romVersion;
};

/** Kinds of builds; more than one may apply. */
struct BuildClass {
    bool isCommercialVersion;
    bool isReleaseVersion;
    bool isPreVersion;
    bool isCtaVersion;
};

bool contains(const std::string& text, const char* word) {
    return text.find(word) != std::string::npos;
}

/** A missing property is an empty text. */
BuildClass classifyBuild(const BuildProperties& properties) {
    BuildClass build = {};
    build.isPreVersion = contains(properties.otaVersion, "PRE") ||
                         contains(properties.romVersion, "Alpha") ||
                         contains(properties.romVersion, "Beta");
    build.isReleaseVersion = properties.releaseType == "true";
    build.isCtaVersion = properties.cta == "true";
    build.isCommercialVersion =
            build.isReleaseVersion && !build.isCtaVersion && !build.isPreVersion;
    return build;
}

}  // namespace

VariantPolicy::VariantPolicy() : mSystemVersion(checkSystemVerion()) {
    getOtaVersion();
}

bool VariantPolicy::checkSystemVerion() {
    // Tools that read the log depend on the spelling "checkSystemVerion".
    const TraceSection trace("checkSystemVerion");
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel checkSystemVerion]: checkSystemVerion.\n");
    const BuildClass build = classifyBuild({
            GetProperty("ro.build.version.ota", ""),
            GetProperty("ro.build.release_type", ""),
            GetProperty("persist.sys.cta", ""),
            GetProperty("ro.build.version.dravorom", ""),
    });
    // Interactive ROM actions no longer exist, but the log line still has the field.
    const int isInteractiveRomAction = 0;
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel checkSystemVerion]: isCommercialVersion:%d, isReleaseVersion:%d, "
               "isInteractiveRomAction:%d, isPreVersion:%d, isCtaVersion:%d,.\n",
               build.isCommercialVersion, build.isReleaseVersion, isInteractiveRomAction,
               build.isPreVersion, build.isCtaVersion);
    return build.isCommercialVersion;
}

void VariantPolicy::getOtaVersion() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel getOtaVersion]: getOtaVersion.\n");
    GetProperty("ro.build.version.ota", "");
}

void VariantPolicy::kavelVersionSwitch() {
    const TraceSection trace("kavelVersionSwitch");
    bool version = checkSystemVerion();

    // The first property can only turn commercial handling off, and the second can only turn it on,
    // but each logs a line in both cases. Test departments rely on this. The lines about the second
    // property omit its "persist.".
    const std::string panicMask = GetProperty("sys.kavel.panic_enable_mask", "false");
    if (contains(panicMask, "true")) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelVersionSwitch]: KAVEL_SYSTEM_VERSION_FORMAL by "
                   "sys.kavel.panic_enable_mask.\n");
    }
    if (contains(panicMask, "false")) {
        version = KAVEL_SYSTEM_VERSION_TRAIL;
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelVersionSwitch]: KAVEL_SYSTEM_VERSION_TRAIL by "
                   "sys.kavel.panic_enable_mask.\n");
    }
    const std::string userDebug = GetProperty("persist.kavel.user_panic_for_debug", "false");
    if (contains(userDebug, "true")) {
        version = KAVEL_SYSTEM_VERSION_FORMAL;
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelVersionSwitch]: KAVEL_SYSTEM_VERSION_FORMAL by "
                   "sys.kavel.user_panic_for_debug.\n");
    }
    if (contains(userDebug, "false")) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelVersionSwitch]: KAVEL_SYSTEM_VERSION_TRAIL by "
                   "sys.kavel.user_panic_for_debug.\n");
    }
    mSystemVersion = version;
}

}  // namespace android::kavel
