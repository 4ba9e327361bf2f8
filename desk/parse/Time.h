#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kaveldesk {

inline constexpr int64_t kNsPerSecond = 1'000'000'000;
inline constexpr int64_t kNsPerDay = 86'400 * kNsPerSecond;

/** Takes characters from the front of a text. A failed step leaves the text as it was. */
class Scanner {
  public:
    explicit Scanner(std::string_view text) : mText(text) {}

    std::string_view rest() const { return mText; }

    bool skip(char c) {
        if (mText.empty() || mText.front() != c) return false;
        mText.remove_prefix(1);
        return true;
    }

    void skipBlanks() {
        while (skip(' ')) {
        }
    }

    /** Takes exactly @p digits decimal digits, at most 9. */
    bool number(size_t digits, int32_t& value) {
        if (mText.size() < digits) return false;
        int32_t result = 0;
        for (size_t i = 0; i < digits; ++i) {
            const char c = mText[i];
            if (c < '0' || c > '9') return false;
            result = result * 10 + (c - '0');
        }
        value = result;
        mText.remove_prefix(digits);
        return true;
    }

    /** Takes ".", or ",", and one or more digits as a fraction of a second. */
    bool fraction(int64_t& ns);

    /** Takes characters up to a blank or the end; empty if there are none. */
    std::string_view word() {
        const std::string_view taken = mText.substr(0, mText.find(' '));
        mText.remove_prefix(taken.size());
        return taken;
    }

  private:
    std::string_view mText;
};

/** The first second of 2100. Later times, and years before 1969, are not taken for times. */
inline constexpr int64_t kTimeLimitNs = 4'102'444'800 * kNsPerSecond;

/** Date and time as a log writes them. Year and zone may be missing. */
struct Stamp {
    int32_t year = -1;  // -1: not written
    int32_t month = 1;
    int32_t day = 1;
    int64_t nsOfDay = 0;
    int32_t zoneSeconds = 0;
    bool hasZone = false;
};

/** Days from 1970-01-01 to the date, which must exist in the Gregorian calendar. */
int64_t daysFromCivil(int64_t year, int32_t month, int32_t day);

/** Days of @p month (1 to 12) in @p year. */
int32_t daysOfMonth(int64_t year, int32_t month);

/**
 * Takes "[YYYY-]MM-DD HH:MM:SS[.fraction][ zone]" from @p scanner; a "T" may replace the blank.
 * Zones are Z, UTC, +HHMM and +HH:MM. Returns nullopt if there is none or it does not exist.
 */
std::optional<Stamp> takeStamp(Scanner& scanner);

/** Nanoseconds since the epoch. A stamp without a zone counts as one at @p offsetSeconds. */
int64_t utcOf(const Stamp& stamp, int32_t offsetSeconds);

/**
 * The time at the start of @p text, blanks before it skipped, in nanoseconds since the epoch; 0 if
 * there is none with a year. Without a zone it is at @p offsetSeconds.
 */
int64_t parseUtc(std::string_view text, int32_t offsetSeconds);

/** Parses YYYY-MM-DD-HH-MM-SS-mmm, as in names of folders and files. */
std::optional<Stamp> parseNameTime(std::string_view text);

/** YYYY-MM-DD HH:MM:SS.mmm at @p offsetSeconds east of UTC. */
std::string timeText(int64_t utcNs, int32_t offsetSeconds);

/** +HH:MM. */
std::string offsetText(int32_t offsetSeconds);

}  // namespace kaveldesk
