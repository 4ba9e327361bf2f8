#include "desk/mask/Accept.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <string>

#include <re2/re2.h>

#include "desk/mask/Kinds.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

bool hasDigit(std::string_view text) {
    return std::any_of(text.begin(), text.end(), isDigit);
}
bool isNumber(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isDigit);
}

std::string lower(std::string_view text) {
    return normalValue(MaskKind::Host, text);
}

template <size_t N>
bool isOneOf(std::string_view text, const std::array<std::string_view, N>& words) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

bool matches(std::string_view text, const re2::RE2& pattern) {
    return re2::RE2::PartialMatch(re2::StringPiece(text.data(), text.size()), pattern);
}

constexpr std::array<std::string_view, 17> kNoValue = {
        "null",         "none",  "nil", "unknown", "unset",      "undefined",
        "true",         "false", "yes", "no",      "empty",      "default",
        "unknown ssid", "any",   "n/a", "0",       "unavailable"};

// com.example.app is a package: its first part is what a host name has as its last.
constexpr std::array<std::string_view, 12> kPackageStarts = {"com",  "org",   "net",     "io",
                                                             "de",   "cn",    "android", "androidx",
                                                             "java", "javax", "kotlin",  "vendor"};

constexpr std::array<std::string_view, 14> kFileEndings = {"so",   "apk",  "jar", "dex",    "odex",
                                                           "vdex", "xml",  "rc",  "txt",    "json",
                                                           "java", "html", "gz",  "service"};

/** How often letters and digits change in random keys: a name such as "Camera2Api" has few. */
constexpr int kChangesOfRandom = 6;
/** Digits alone are a count if there are fewer. */
constexpr size_t kSerialDigits = 9;

}  // namespace

bool isValue(const FoundValue& found) {
    const std::string_view value = found.value();
    return value.find_first_not_of("*xX.:-#?0 ") != std::string_view::npos &&
           !isOneOf(lower(value), kNoValue) && !isPseudonym(value);
}

bool isSecret(const FoundValue& found) {
    return found.value().front() != '/' && isValue(found);
}

bool isCookie(const FoundValue& found) {
    constexpr size_t kShortest = 4;
    return found.size >= kShortest && isValue(found);
}

bool isRandom(const FoundValue& found) {
    const std::string_view value = found.value();
    if (value.substr(0, 4) == "3082") return false;  // certificate (DER) of a package
    int changes = 0;
    for (size_t i = 1; i < value.size(); ++i) {
        if (isDigit(value[i]) != isDigit(value[i - 1])) ++changes;
    }
    return changes >= kChangesOfRandom && isValue(found);
}

bool isUserName(const FoundValue& found) {
    static const re2::RE2 kOwnUsers(
            R"(^(?:u\d+_[a-z]+\d+(?:s\d+)?|root|system|shell|radio|log|wifi|bluetooth|media|nobody|)"
            R"(Owner|Guest|\d+)$)");
    return !matches(found.value(), kOwnUsers) &&
           found.value().find('@') == std::string_view::npos && isValue(found);
}

bool isMail(const FoundValue& found) {
    // kavel_EVENT_PROCESS@ID@OTA@TIME has several of them.
    if (found.before() == '@' || found.behind() == '@') return false;
    const std::string_view value = found.value();
    const std::string_view domain = value.substr(value.find('@') + 1);
    // android.hardware.power@1.0-service.xyz: each part of the version starts with a digit.
    const size_t dot = domain.find('.');
    if (dot == std::string_view::npos) return false;
    if (isDigit(domain[0]) && isDigit(domain[dot + 1])) return false;
    const std::string_view last = domain.substr(domain.rfind('.') + 1);
    return last.size() >= 2 && std::all_of(last.begin(), last.end(), isLetter) &&
           !isOneOf(lower(last), kFileEndings);
}

bool isPhone(const FoundValue& found) {
    // A time zone such as +0100 and what follows it; no country has a code of four digits.
    const size_t group = found.value().find_first_not_of("+0123456789");
    if (group == 5) return false;
    static const re2::RE2 kOffset(R"((?i)\b(?:offset|delta|drift|adjust(?:ed|ment)?)[ :=]*$)");
    if (matches(found.ahead(), kOffset)) return false;
    return !isWord(found.before()) && found.before() != ')' && !isWord(found.behind()) &&
           found.behind() != '.';
}

bool isWholeNumber(const FoundValue& found) {
    return !isWord(found.before()) && !isWord(found.behind()) && isValue(found);
}

bool isCheckedNumber(const FoundValue& found) {
    // Not the fraction or the whole part of a number.
    if (found.before() == '.' || (found.behind() == '.' && isDigit(found.behind(1)))) return false;
    if (!isWholeNumber(found)) return false;
    const std::string_view digits = found.value();
    int sum = 0;
    for (size_t i = 0; i < digits.size(); ++i) {
        const int digit = digits[digits.size() - 1 - i] - '0';
        const int doubled = i % 2 == 1 ? 2 * digit : digit;
        sum += doubled > 9 ? doubled - 9 : doubled;
    }
    return sum % 10 == 0;
}

bool isSerial(const FoundValue& found) {
    const std::string_view value = found.value();
    if (!hasDigit(value) || value.substr(0, 2) == "0x") return false;
    return (!isNumber(value) || value.size() >= kSerialDigits) && isValue(found);
}

bool isMac(const FoundValue& found) {
    // A neighbour makes it a part of a longer row of bytes, such as the fingerprint of a
    // certificate.
    const std::string value = lower(found.value());
    const char separator = value[2];
    if (isWord(found.before()) || found.before() == separator) return false;
    if (isWord(found.behind()) || (found.behind() == separator && isWord(found.behind(1)))) {
        return false;
    }
    // 26-11-22-01-18-00 is a time: an address with dashes has a letter.
    if (separator == '-' && std::none_of(value.begin(), value.end(), isLetter)) return false;
    return value.find_first_not_of("0:-") != std::string::npos &&
           value.find_first_not_of("f:-") != std::string::npos &&
           value != "02:00:00:00:00:00";  // what Android shows to an app that may not know it
}

bool isIpv4(const FoundValue& found) {
    in_addr address{};
    const std::string value(found.value());
    if (inet_pton(AF_INET, value.c_str(), &address) != 1) return false;
    const uint32_t bits = ntohl(address.s_addr);
    const uint32_t first = bits >> 24U;
    if (first == 0 || first == 127 || first == 255) return false;
    // Part of a longer number or name.
    const char before = found.before();
    const char behind = found.behind();
    if (isWord(before) || before == '.' || isWord(behind)) return false;
    if (behind == '.' && isDigit(found.behind(1))) return false;
    // Private addresses that no version looks like. 10.0.0.1 could be one.
    if (bits >> 16U == 0xC0A8 || bits >> 20U == 0xAC1) return true;
    // lib-1.2.3.4, 1.2.3.4.jar, 1.2.3.4-beta
    if (before == '-' && !isDigit(found.before(2))) return false;
    if ((behind == '.' || behind == '-') && isLetter(found.behind(1))) return false;
    const std::string_view context = found.ahead();
    // libssl 3.0.12.1
    static const re2::RE2 kLibrary(R"(\blib[\w+-]+ $)");
    if (matches(context, kLibrary)) return false;
    static const re2::RE2 kVersion(
            R"((?i)(?:\bv|ver|version\w*|release|build|firmware|\bfw|sdk|driver|revision|baseband|)"
            R"(incremental|package|fingerprint)["'\]]*[ \t]*[:=(\[]*[ \t]*["'\[(]*$)");
    if (matches(context, kVersion)) return false;
    // Chrome/1.2.3.4 is a product, www.example.org/1.2.3.4 is how Java writes an address.
    static const re2::RE2 kProduct(R"([A-Za-z][\w.-]*/$)");
    static const re2::RE2 kHost(R"([\w-]+\.[\w.-]*[A-Za-z]/$)");
    if (matches(context, kProduct)) return matches(context, kHost);
    // "wcn 2.0.1.3": hardly any address has four small numbers, nearly all versions do.
    constexpr size_t kFourDigits = 7;
    static const re2::RE2 kAddress(
            R"((?i)(?:\b(?:ip(?:v?4)?|inet|addr\w*|address|dns\w*|server|host|gateway|gw|router|)"
            R"(route|via|dev|dst|src|from|to|at|ping|peer|remote|local|source|dest\w*)\b[^\w]*|/)$)");
    return found.size > kFourDigits || behind == ':' || behind == '/' || matches(context, kAddress);
}

bool isIpv6(const FoundValue& found) {
    if (isWord(found.before()) || found.before() == ':') return false;
    if (isWord(found.behind()) || found.behind() == ':') return false;
    in6_addr address{};
    const std::string value(found.value());
    if (inet_pton(AF_INET6, value.c_str(), &address) != 1) return false;
    if (!hasDigit(value) || value.find_first_not_of("0:1") == std::string::npos) return false;
    // Eight bytes in a row are a dump of memory, not an address.
    static const re2::RE2 kBytes(R"(^[0-9A-Fa-f]{2}(?::[0-9A-Fa-f]{2}){7}$)");
    if (matches(value, kBytes)) return false;
    // Global, unique local, link-local. What is left could be a::b of C++.
    const uint8_t first = address.s6_addr[0];
    return (first & 0xE0U) == 0x20 || (first & 0xFEU) == 0xFC || first == 0xFE || first == 0xFF ||
           value.substr(0, 6) == "64:ff9";
}

bool isCoordinate(const FoundValue& found) {
    static const re2::RE2 kLongitude(R"((?i)(?:\b|_)(?:lon|lng|longitude)\b)");
    const double degrees = std::strtod(std::string(found.value()).c_str(), nullptr);
    return degrees >= -180 && degrees <= 180 && !isDigit(found.behind()) &&
           matches(found.around(), kLongitude);
}

bool isCellId(const FoundValue& found) {
    return isWholeNumber(found) && found.value() != "2147483647" &&
           found.value() != "9223372036854775807" && found.value() != "65535";
}

bool isUrlHost(const FoundValue& found) {
    constexpr std::array<std::string_view, 5> kPublic = {"localhost", "schemas.android.com",
                                                         "schemas.microsoft.com", "www.w3.org",
                                                         "xmlpull.org"};
    return !isOneOf(lower(found.value()), kPublic) && isValue(found);
}

bool isHostName(const FoundValue& found) {
    const std::string value = lower(found.value());
    if (isWord(found.before()) || isWord(found.behind())) return false;
    const size_t dot = value.rfind('.');
    if (dot == std::string::npos) return false;
    const std::string last = value.substr(dot + 1);
    return last.size() >= 2 && std::all_of(last.begin(), last.end(), isLetter) &&
           !isOneOf(last, kFileEndings) &&
           !isOneOf(value.substr(0, value.find('.')), kPackageStarts) && isUrlHost(found);
}

}  // namespace kaveldesk
