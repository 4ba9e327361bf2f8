#pragma once

#include <atomic>
#include <string>

namespace android::kavel {

// The two ways of handling an event, as the boolean that they are everywhere.
inline constexpr bool KAVEL_SYSTEM_VERSION_FORMAL = true;  ///< commercial build
inline constexpr bool KAVEL_SYSTEM_VERSION_TRAIL = false;  ///< field trial

/** The properties that tell what kind of build this is. */
struct BuildProperties {
    std::string otaVersion;
    std::string releaseType;
    std::string cta;
    std::string romVersion;
};

/** What they say; a build may be several of these. */
struct BuildClass {
    bool isCommercialVersion;
    bool isReleaseVersion;
    bool isPreVersion;
    bool isCtaVersion;
};

/** Pure; missing properties are empty texts. */
BuildClass classifyBuild(const BuildProperties& properties);

/** Decides between field-trial and commercial handling, from system properties. Any thread. */
class VariantPolicy {
  public:
    VariantPolicy();

    /** Whether the build is commercial. */
    static bool checkSystemVerion();
    /** Leaves its line in the log; what it reads goes nowhere. */
    static void getOtaVersion();
    /** Decides anew, so that a property change takes effect with the next event. */
    void kavelVersionSwitch();
    /** KAVEL_SYSTEM_VERSION_FORMAL or KAVEL_SYSTEM_VERSION_TRAIL. */
    bool systemVersion() const { return mSystemVersion; }

  private:
    std::atomic<bool> mSystemVersion;
};

}  // namespace android::kavel
