#pragma once

#include <cstddef>
#include <string_view>

namespace kaveldesk {

/** A value that the pattern of a rule has found, with the line around it. */
struct FoundValue {
    std::string_view line;
    size_t at;
    size_t size;

    static constexpr size_t kContext = 64;

    std::string_view value() const { return line.substr(at, size); }
    /** Up to 64 characters of the line ahead of the value; lines can be long. */
    std::string_view ahead() const {
        const size_t from = at > kContext ? at - kContext : 0;
        return line.substr(from, at - from);
    }
    /** The value with up to 64 characters on either side. */
    std::string_view around() const {
        return line.substr(at - ahead().size(), ahead().size() + size + kContext);
    }
    /** The character before or behind the value; 0 at the end of the line. */
    char before(size_t distance = 1) const { return at < distance ? '\0' : line[at - distance]; }
    char behind(size_t distance = 0) const {
        return at + size + distance < line.size() ? line[at + size + distance] : '\0';
    }
};

// Each function says whether a value that a pattern has found is masked. They tell personal values
// from the evidence that looks alike: versions, times, class names, addresses of memory.

/** Any value, except for words such as "null", values that are already hidden, and pseudonyms. */
bool isValue(const FoundValue& found);
/** A password: any value except for paths and what isValue() refuses. */
bool isSecret(const FoundValue& found);
/** The value of a cookie: not a short one, such as a setting. */
bool isCookie(const FoundValue& found);
/** A long value in which letters and digits mix as in random keys. Public certificates are none. */
bool isRandom(const FoundValue& found);
/** A user name, not one of those that Android gives to its own users. */
bool isUserName(const FoundValue& found);
/** A mail address, not the name of a HIDL service or a log folder. */
bool isMail(const FoundValue& found);
/** A phone number in the international form, not a difference of times. */
bool isPhone(const FoundValue& found);
/** A number with a valid check digit (Luhn) that is not part of a longer number or word. */
bool isCheckedNumber(const FoundValue& found);
/** A number that is not part of a longer number or word. */
bool isWholeNumber(const FoundValue& found);
/** A serial number: it has a digit, and more than a count would have. */
bool isSerial(const FoundValue& found);
/** A MAC address of one device: not part of a fingerprint, not zero, not broadcast. */
bool isMac(const FoundValue& found);
/** An IPv4 address, not a version, a mask or the phone itself. */
bool isIpv4(const FoundValue& found);
/** An IPv6 address, not a scope of C++ or the phone itself. */
bool isIpv6(const FoundValue& found);
/** A coordinate: "lat" can be a latency, so the line also has a longitude. */
bool isCoordinate(const FoundValue& found);
/** The id of a cell, not the number for an unknown one. */
bool isCellId(const FoundValue& found);
/** The host of a URL, not the phone itself or the name of an XML schema. */
bool isUrlHost(const FoundValue& found);
/** A host name with a domain, not the name of a package or class. */
bool isHostName(const FoundValue& found);

}  // namespace kaveldesk
