#pragma once

#include <atomic>
#include <string>

namespace android::kavel {

// The two ways to handle an event, as values of one boolean. "TRAIL" (trial) is a required
// spelling.
inline constexpr bool KAVEL_SYSTEM_VERSION_FORMAL = true;  ///< commercial build
inline constexpr bool KAVEL_SYSTEM_VERSION_TRAIL = false;  ///< field trial

/** Why the build counts as a trail or a commercial build. */
struct BuildStatus {
    bool isCommercialVersion = false;
    bool isReleaseVersion = false;
    bool isInteractiveRomAction = false;  ///< no longer exists; never set
    bool isPreVersion = false;
    bool isCtaVersion = false;
    std::string panicEnableMask;    ///< value of sys.kavel.panic_enable_mask
    std::string userPanicForDebug;  ///< value of persist.kavel.user_panic_for_debug
    /** How the next event is handled: KAVEL_SYSTEM_VERSION_FORMAL or KAVEL_SYSTEM_VERSION_TRAIL. */
    bool systemVersion = KAVEL_SYSTEM_VERSION_TRAIL;
};

/** Reads the properties. Logs nothing. */
BuildStatus buildStatus();

/** Chooses between field-trial and commercial handling by system properties. Any thread. */
class VariantPolicy {
  public:
    VariantPolicy();

    /**
     * Whether the build is commercial. The spelling "Verion" is required: the name is part of the
     * interface.
     */
    static bool checkSystemVerion();
    /** Reads the properties again, so that a change takes effect with the next event. */
    void kavelVersionSwitch();
    /** KAVEL_SYSTEM_VERSION_FORMAL or KAVEL_SYSTEM_VERSION_TRAIL. */
    bool systemVersion() const { return mSystemVersion; }

  private:
    /** Logs a line and reads a property, whose value is not used. */
    static void getOtaVersion();

    std::atomic<bool> mSystemVersion;
};

}  // namespace android::kavel
