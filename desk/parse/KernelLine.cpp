#include <algorithm>

#include "desk/parse/LogLine.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** Levels of the kernel, 0 (emergency) to 7 (debug). */
Level levelOfDigit(char digit) {
    constexpr Level kLevels[] = {Level::Fatal, Level::Fatal, Level::Fatal, Level::Error,
                                 Level::Warn,  Level::Info,  Level::Info,  Level::Debug};
    return kLevels[digit & 7];
}

/** "<6>"; numbers above 7 also name the facility. */
void takeLevel(Scanner& scanner, LineHead& head) {
    const std::string_view text = scanner.rest();
    const size_t end = text.substr(0, 5).find('>');
    if (text.empty() || text[0] != '<' || end == std::string_view::npos || end < 2) return;
    if (!std::all_of(&text[1], &text[end], isDigit)) return;
    int32_t number = 0;
    Scanner(text.substr(1)).number(end - 1, number);
    head.level = levelOfDigit(static_cast<char>('0' + number % 8));
    scanner = Scanner(text.substr(end + 1));
}

/** "[   12.345678]" or "[   12.345678][ T123]". */
bool takeBootTime(Scanner& scanner, KernelLine& line) {
    Scanner step = scanner;
    if (!step.skip('[')) return false;
    step.skipBlanks();
    const std::string_view text = step.rest();
    const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    constexpr size_t kMaxDigits = 9;
    int32_t seconds = 0;
    int64_t fraction = 0;
    if (digits == 0 || digits > kMaxDigits || !step.number(digits, seconds) ||
        !step.fraction(fraction) || !step.skip(']')) {
        return false;
    }
    line.bootNs = seconds * kNsPerSecond + fraction;
    scanner = step;
    step.skipBlanks();
    if (!step.skip('[')) return true;
    step.skipBlanks();
    const bool isThread = step.skip('T');
    if (!isThread && !step.skip('C')) return true;
    const std::string_view id = step.rest();
    const size_t end = std::min(id.find_first_not_of("0123456789"), id.size());
    int32_t number = 0;
    if (end == 0 || end > kMaxDigits || !step.number(end, number) || !step.skip(']')) return true;
    if (isThread) line.head.tid = number;
    scanner = step;
    return true;
}

bool isTagCharacter(char c) {
    return isWord(c) || c == '-' || c == ' ' || c == '.' || c == '/' || c == '@';
}

}  // namespace

std::optional<KernelLine> parseKernelLine(std::string_view line) {
    KernelLine result;
    Scanner scanner(line);
    takeLevel(scanner, result.head);
    if (!takeBootTime(scanner, result)) return std::nullopt;
    scanner.skip(' ');
    const size_t messageAt = line.size() - scanner.rest().size();
    result.head.messageAt = static_cast<uint32_t>(messageAt);
    // "binder: undelivered transaction": what is before the first colon names the driver.
    constexpr size_t kMaxTag = 40;
    const size_t colon = scanner.rest().substr(0, kMaxTag).find(": ");
    if (colon == std::string_view::npos || colon == 0) return result;
    const std::string_view tag = scanner.rest().substr(0, colon);
    if (!std::all_of(tag.begin(), tag.end(), isTagCharacter) || tag[0] == ' ') return result;
    result.head.tagAt = result.head.messageAt;
    result.head.tagLength = static_cast<uint16_t>(colon);
    result.head.messageAt += static_cast<uint32_t>(colon + 2);
    return result;
}

std::optional<int64_t> wallClockInKernelLine(std::string_view message) {
    // "audit: type=1400 audit(1641086403.123:4): avc: denied": seconds since the epoch, if the
    // clock is set. Few lines have a "(" or "UTC", so the search for them comes first.
    constexpr std::string_view kAudit = " audit(";
    constexpr size_t kEpochDigits = 10;
    if (const size_t at = message.find(kAudit); at != std::string_view::npos) {
        Scanner scanner(message.substr(at + kAudit.size()));
        int32_t high = 0;
        int32_t low = 0;
        int64_t fraction = 0;
        if (scanner.number(kEpochDigits - 1, high) && scanner.number(1, low) &&
            scanner.fraction(fraction) && scanner.skip(':')) {
            const int64_t seconds = high * int64_t{10} + low;
            if (seconds < kTimeLimitNs / kNsPerSecond) return seconds * kNsPerSecond + fraction;
        }
    }
    // "PM: suspend exit 2015-08-28 01:32:45.111006517 UTC", "rtc: setting system clock to
    // 2022-01-02T01:20:03 UTC (1641086403)".
    const size_t zone = message.find(" UTC");
    if (zone == std::string_view::npos) return std::nullopt;
    constexpr size_t kLongest = sizeof("2015-08-28 01:32:45.111006517");
    for (size_t at = zone - std::min(zone, kLongest); at < zone; ++at) {
        if (!isDigit(message[at]) || (at > 0 && isDigit(message[at - 1]))) continue;
        Scanner scanner(message.substr(at));
        const std::optional<Stamp> stamp = takeStamp(scanner);
        constexpr int32_t kFirstYear = 2001;  // earlier ones are of a clock that was never set
        if (stamp && stamp->hasZone && stamp->year >= kFirstYear) return utcOf(*stamp, 0);
    }
    return std::nullopt;
}

}  // namespace kaveldesk
