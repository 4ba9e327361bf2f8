#pragma once

#include <atomic>

namespace android::kavel {

// The two ways to handle an event, as values of one boolean. "TRAIL" (trial) is a required
// spelling.
inline constexpr bool KAVEL_SYSTEM_VERSION_FORMAL = true;  ///< commercial build
inline constexpr bool KAVEL_SYSTEM_VERSION_TRAIL = false;  ///< field trial

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
    /** Writes a log line. The property that it reads is not used. */
    static void getOtaVersion();

    std::atomic<bool> mSystemVersion;
};

}  // namespace android::kavel
