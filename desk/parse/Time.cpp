#include "desk/parse/Time.h"

#include <fmt/core.h>

#include <cstdlib>

namespace kaveldesk {
namespace {

constexpr int64_t floorDivide(int64_t value, int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

/** Sums and differences of two such times fit into 64 bits. 1969 is the epoch in the west. */
constexpr bool isPlausible(int32_t year) {
    return year >= 1969 && year < 2100;
}

bool takeDate(Scanner& scanner, Stamp& stamp) {
    Scanner withYear = scanner;
    if (withYear.number(4, stamp.year) && withYear.skip('-')) {
        scanner = withYear;
    } else {
        stamp.year = -1;
    }
    // A leap year if it is not known: the year that is found later decides.
    const int32_t year = stamp.year < 0 ? 2000 : stamp.year;
    return isPlausible(year) && scanner.number(2, stamp.month) && scanner.skip('-') &&
           scanner.number(2, stamp.day) && stamp.month >= 1 && stamp.month <= 12 &&
           stamp.day >= 1 && stamp.day <= daysOfMonth(year, stamp.month);
}

bool takeTimeOfDay(Scanner& scanner, char separator, Stamp& stamp) {
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
    if (!scanner.number(2, hour) || !scanner.skip(separator) || !scanner.number(2, minute) ||
        !scanner.skip(separator) || !scanner.number(2, second) || hour > 23 || minute > 59 ||
        second > 60) {
        return false;
    }
    stamp.nsOfDay = (hour * 3600 + minute * 60 + second) * kNsPerSecond;
    return true;
}

void takeZone(Scanner& scanner, Stamp& stamp) {
    Scanner zone = scanner;
    zone.skipBlanks();
    bool found = false;
    if (zone.rest().substr(0, 3) == "UTC") {
        zone.word();
        found = true;
    } else if (zone.skip('Z')) {
        found = true;
    } else {
        const bool isWest = zone.rest().substr(0, 1) == "-";
        int32_t hours = 0;
        int32_t minutes = 0;
        found = (zone.skip('+') || zone.skip('-')) && zone.number(2, hours) &&
                (zone.skip(':') || true) && zone.number(2, minutes) && hours <= 14 && minutes <= 59;
        stamp.zoneSeconds = (hours * 3600 + minutes * 60) * (isWest ? -1 : 1);
    }
    if (!found) {
        stamp.zoneSeconds = 0;
        return;
    }
    stamp.hasZone = true;
    scanner = zone;
}

}  // namespace

bool Scanner::fraction(int64_t& ns) {
    if (mText.size() < 2 || (mText[0] != '.' && mText[0] != ',')) return false;
    int64_t result = 0;
    int64_t unit = kNsPerSecond / 10;
    size_t end = 1;
    for (; end < mText.size() && mText[end] >= '0' && mText[end] <= '9'; ++end, unit /= 10) {
        result += (mText[end] - '0') * unit;
    }
    if (end == 1) return false;
    ns = result;
    mText.remove_prefix(end);
    return true;
}

// Years start in March here, so that a leap day is the last day of its year.
int64_t daysFromCivil(int64_t year, int32_t month, int32_t day) {
    const int64_t shifted = year - (month <= 2 ? 1 : 0);
    const int64_t era = floorDivide(shifted, 400);
    const int64_t yearOfEra = shifted - era * 400;
    const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

int32_t daysOfMonth(int64_t year, int32_t month) {
    constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month == 2 && isLeap ? 29 : kDays[month - 1];
}

std::optional<Stamp> takeStamp(Scanner& scanner) {
    Stamp stamp;
    Scanner step = scanner;
    if (!takeDate(step, stamp) || !(step.skip(' ') || step.skip('T')) ||
        !takeTimeOfDay(step, ':', stamp)) {
        return std::nullopt;
    }
    int64_t fraction = 0;
    if (step.fraction(fraction)) stamp.nsOfDay += fraction;
    takeZone(step, stamp);
    scanner = step;
    return stamp;
}

int64_t utcOf(const Stamp& stamp, int32_t offsetSeconds) {
    const int32_t zone = stamp.hasZone ? stamp.zoneSeconds : offsetSeconds;
    return daysFromCivil(stamp.year < 0 ? 1970 : stamp.year, stamp.month, stamp.day) * kNsPerDay +
           stamp.nsOfDay - zone * kNsPerSecond;
}

int64_t parseUtc(std::string_view text, int32_t offsetSeconds) {
    Scanner scanner(text);
    scanner.skipBlanks();
    const std::optional<Stamp> stamp = takeStamp(scanner);
    return stamp && stamp->year >= 0 ? utcOf(*stamp, offsetSeconds) : 0;
}

std::optional<Stamp> parseNameTime(std::string_view text) {
    Stamp stamp;
    Scanner scanner(text);
    int32_t millisecond = 0;
    if (!takeDate(scanner, stamp) || stamp.year < 0 || !scanner.skip('-') ||
        !takeTimeOfDay(scanner, '-', stamp) || !scanner.skip('-') ||
        !scanner.number(3, millisecond) || !scanner.rest().empty()) {
        return std::nullopt;
    }
    stamp.nsOfDay += millisecond * (kNsPerSecond / 1000);
    return stamp;
}

std::string timeText(int64_t utcNs, int32_t offsetSeconds) {
    const int64_t ms = floorDivide(utcNs, 1'000'000) + offsetSeconds * int64_t{1000};
    const int64_t days = floorDivide(ms, 86'400'000);
    const int64_t ofDay = ms - days * 86'400'000;
    // The inverse of daysFromCivil().
    const int64_t shifted = days + 719'468;
    const int64_t era = floorDivide(shifted, 146'097);
    const int64_t dayOfEra = shifted - era * 146'097;
    const int64_t yearOfEra =
            (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int64_t month = monthFromMarch + (monthFromMarch < 10 ? 3 : -9);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}",
                       era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
                       dayOfYear - (153 * monthFromMarch + 2) / 5 + 1, ofDay / 3'600'000,
                       ofDay / 60'000 % 60, ofDay / 1000 % 60, ofDay % 1000);
}

std::string offsetText(int32_t offsetSeconds) {
    const int32_t minutes = std::abs(offsetSeconds) / 60;
    return fmt::format("{}{:02}:{:02}", offsetSeconds < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

}  // namespace kaveldesk
