#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kaveldesk {

/** What a masked value is about. */
enum class MaskKind : uint8_t {
    Token,
    Account,
    Mail,
    Phone,
    Imei,
    Imsi,
    Iccid,
    Serial,
    Mac,
    Ip,
    Ssid,
    Position,
    Host,
};

struct MaskKindRow {
    MaskKind kind;
    const char* name;    // starts the pseudonym
    const char* what;    // the values, for the help
    const char* reason;  // why they are masked
    bool repeats;        // also masked where the same text is without its context
};

/** The kinds, in the order of MaskKind. */
inline constexpr std::array<MaskKindRow, 13> kMaskKinds = {{
        {MaskKind::Token, "token", "passwords, keys, session and bearer tokens, JWTs",
         "opens an account or a device", true},
        {MaskKind::Account, "account", "account names that are no mail address, user names",
         "names a person", true},
        {MaskKind::Mail, "mail", "mail addresses", "names a person", false},
        {MaskKind::Phone, "phone", "phone numbers", "names a person", true},
        {MaskKind::Imei, "imei", "IMEI, IMEISV, MEID", "names a phone for its whole life", true},
        {MaskKind::Imsi, "imsi", "IMSI, subscriber ids", "names a subscriber", true},
        {MaskKind::Iccid, "iccid", "ICCID", "names a SIM card and with it a subscriber", true},
        {MaskKind::Serial, "serial", "serial numbers, chip, Android and advertising ids",
         "names a phone", true},
        {MaskKind::Mac, "mac", "MAC addresses, BSSIDs",
         "names a device, or an access point and its place", false},
        {MaskKind::Ip, "ip", "IPv4 and IPv6 addresses", "names a connection or a home network",
         false},
        {MaskKind::Ssid, "ssid", "names of Wi-Fi networks", "often names a person or a place",
         true},
        {MaskKind::Position, "position", "coordinates, cell and area ids",
         "says where the phone was", false},
        {MaskKind::Host, "host", "host names, also in URLs",
         "names a server, an employer or a device", true},
}};

constexpr const MaskKindRow& maskKindRow(MaskKind kind) {
    return kMaskKinds[static_cast<size_t>(kind)];
}

/**
 * The form of @p value by which spellings of the same value get the same pseudonym: lower case for
 * mail addresses, hosts, MAC and IP addresses, no separators in phone numbers.
 */
std::string normalValue(MaskKind kind, std::string_view value);

/** Whether @p text is a pseudonym, KIND-NUMBER. */
bool isPseudonym(std::string_view text);

}  // namespace kaveldesk
