#include "desk/mask/Rules.h"

namespace kaveldesk {
namespace {

// Between a key and its value: imei=, "imei":", \"imei\":\", [ro.serialno]: [, name="imei">.
constexpr const char* kIs = R"~([\])"'\\ \t]*[:=>][ \t]*[\["'\\]*)~";
constexpr const char* kOpeningQuote = R"(["'\\ \]]*[:=][ \t]*\\*["'])";

std::string key(const char* names) {
    return std::string("(?i:") + names + ")" + kIs;
}

std::string quoted(const char* names) {
    return std::string("(?i:") + names + ")" + kOpeningQuote;
}

constexpr const char* kPassword =
        R"((?:passw(?:or)?d|passwd|\bpwd|passphrase|\bpsk|secret|credentials?))";
// "bssid" is none of these.
constexpr const char* kSsid = R"(\b(?:\w*[ac-z0-9_])?ssid)";
constexpr const char* kDomainName = R"([A-Za-z0-9-]+(?:\.[A-Za-z0-9-]+)+)";
constexpr const char* kPhoneNumber = R"(\+?\d[\d().-]*(?: [\d().-]+)*\d)";

std::vector<MaskRule> makeRules() {
    using K = MaskKind;
    return {
            {K::Token, key("authorization") + R"((?i:(?:bearer|basic|digest|token)[ \t]+)?)",
             R"([A-Za-z0-9+/=_.~:-]{8,})", "", isValue},
            {K::Token, R"((?i:\bbearer[ \t]+))", R"([A-Za-z0-9+/=_.~-]{16,})", "", isRandom},
            {K::Token, R"(\b)", R"(eyJ[A-Za-z0-9_-]{8,}\.[A-Za-z0-9_-]{8,}(?:\.[A-Za-z0-9_-]*)?)",
             "", isValue},
            // The forms of widely used services say themselves what they are.
            {K::Token, R"(\b)",
             R"((?:gh[pousr]_[A-Za-z0-9]{20,}|github_pat_\w{20,}|A[KS]IA[0-9A-Z]{16}|)"
             R"(xox[abeoprs]-[A-Za-z0-9-]{10,}|ya29\.[A-Za-z0-9_-]{10,}))",
             "", isValue},
            {K::Token, R"((?i:\bset-cookie: *)[\w-]+=)", R"([^;\s"']+)", "", isCookie},
            {K::Token, R"((?im:(?:^|[^\w-])cookie: *)[\w-]+=)", R"([^;\s"']+)", "", isCookie,
             R"(; *[\w-]+=([^;\s"']*))"},
            {K::Token, "://", R"([^/@ \t"']+:[^/@ \t"']+)", "@", isValue},
            {K::Token, quoted(kPassword), R"([^"'\\]+)", R"(["'\\])", isSecret},
            {K::Token, key(kPassword), R"([^ \t"'\\,;&<>\])}]+)", "", isSecret},
            {K::Token, key(R"((?:token|key|session_?id|cookie|signature|\bsig))"),
             R"([A-Za-z0-9+/_-]{20,}={0,2})", "", isRandom},
            {K::Token, key(R"((?:access|refresh|id|auth)_?token)"),
             R"([A-Za-z0-9+/_-]+(?:\.[A-Za-z0-9+/_-]+)+)", "", isRandom},

            {K::Account, R"(Account ?\{ ?name=)", "[^,}]+", ", ?type=", isUserName},
            {K::Account, R"(UserInfo\{\d+:)", "[^:}]+", ":", isUserName},
            {K::Account, key("(?:account|user|login)_?name"), R"([^ \t"'\\,;&<>\])}]+)", "",
             isUserName},
            {K::Mail, "", R"([A-Za-z0-9._%+-]+@[A-Za-z0-9-]+(?:\.[A-Za-z0-9-]+)+)", "", isMail},

            {K::Phone, "", R"(\+[1-9](?:[ ().-]{0,2}\d){8,14})", "", isPhone},
            {K::Phone, R"((?i:\b(?:tel|sms|smsto|callto):))", kPhoneNumber, "", isValue},
            {K::Phone,
             key(R"((?:msisdn|\bmdn|phone_?(?:number|num|no)|line1_?number|(?:incoming|outgoing|caller|)"
                 R"(dial|dialed|dialing|voice_?mail)_?(?:number|id|string)|smsc(?:_?address)?))"),
             kPhoneNumber, "", isValue},
            {K::Imei, key(R"((?:imei|imei_?sv|meid|device_?id)[\w\[\]()]{0,4})"), R"(\d{14,17})",
             "", isWholeNumber},
            {K::Imei, key("meid"), "[0-9A-Fa-f]{14}", "", isWholeNumber},
            // 35 and 86 are the bodies that give numbers to nearly all phones.
            {K::Imei, R"(\b)", R"((?:35|86)\d{13})", R"(\b)", isCheckedNumber},
            {K::Imsi, key(R"((?:imsi|subscriber_?id)[\w\[\]()]{0,4})"), R"(\d{14,15})", "",
             isWholeNumber},
            {K::Iccid, key(R"((?:icc_?id|sim_?serial(?:_?number)?)[\w\[\]()]{0,4})"),
             R"(\d{18,20}[0-9A-Fa-f]{0,2})", "", isWholeNumber},
            {K::Iccid, R"(\b)", R"(89\d{17,18})", R"(\b)", isCheckedNumber},
            {K::Phone, key(R"(\b(?:phone|mobile|tel|caller|callee))"), R"(0\d{2,4}[-/ ]\d{5,9})",
             "", isWholeNumber},
            {K::Iccid, R"((?i:\biccid) )", R"(\d{18,20})", "", isWholeNumber},
            {K::Phone, R"((?i:\bmsisdn) )", R"(\+?\d{8,15})", "", isWholeNumber},
            {K::Serial,
             key(R"((?:serial(?:_?(?:no|num|number))?|chip_?id|android_?id|\bssaid|gsf_?id|\boaid|\bgaid|)"
                 R"(\badid|advertising_?id))"),
             R"([A-Za-z0-9][A-Za-z0-9._:-]{4,62}[A-Za-z0-9])", "", isSerial},

            {K::Mac, "", "[0-9A-Fa-f]{2}(?::[0-9A-Fa-f]{2}){5}", "", isMac},
            {K::Mac, "", "[0-9A-Fa-f]{2}(?:-[0-9A-Fa-f]{2}){5}", "", isMac},
            {K::Mac, key(R"(\b(?:mac|bssid|bd_?addr)(?:_?addr(?:ess)?)?)"), "[0-9A-Fa-f]{12}", "",
             isMac},
            {K::Ip, "", R"(\d{1,3}(?:\.\d{1,3}){3})", "", isIpv4},
            {K::Ip, "",
             R"(\b[0-9A-Fa-f]{1,4}(?:(?::[0-9A-Fa-f]{1,4}){7}|)"
             R"((?::[0-9A-Fa-f]{1,4}){0,5}:(?::[0-9A-Fa-f]{1,4}){1,6}|(?::[0-9A-Fa-f]{1,4}){0,6}::))",
             "", isIpv6},

            // Quotes inside the name are escaped.
            {K::Ssid, std::string("(?i:") + kSsid + R"~()"?[ :=]{1,3}")~",
             R"~((?:[^"\\]|\\")*\\"(?:[^"\\]|\\")*)~", R"(")", isValue},
            {K::Ssid, std::string("(?i:") + kSsid + R"()[^\w"'\n]{0,6}\\*")", R"([^"\\]+)",
             R"([\\"])", isValue},
            {K::Ssid, std::string("(?i:") + kSsid + R"()[^\w"'\n]{0,3}')", "[^']+", "'", isValue},
            {K::Ssid, R"(\bSSID: )", R"([^",<]+)", ", BSSID", isValue},
            {K::Ssid, std::string("(?i:") + kSsid + R"()[ \t]?[=:][ \t]?)", R"([^ \t"',;&<>\])}]+)",
             "", isValue},
            {K::Ssid, R"(")", R"([^"]{1,32})", R"("-?(?:WPA|WEP|SAE|OWE|NONE))", isValue},

            {K::Position, key(R"((?:\b|_)(?:latitude|longitude|lat|lon|lng))"),
             R"(-?\d{1,3}\.\d{4,})", "", isCoordinate},
            {K::Position, R"((?i:\blat/(?:lng|lon|long))[: =]*\(?)",
             R"(-?\d{1,3}\.\d+, ?-?\d{1,3}\.\d+)", "", isValue},
            {K::Position, R"((?i:\b(?:lat|latitude)[:=] ?))", R"(-?\d{1,2}\.\d{2,})",
             R"((?i:,? (?:lon|lng|longitude)[:=]))", isCoordinate},
            {K::Position, R"((?i:\b(?:lat|latitude)[:=] ?[\w.-]+,? (?:lon|lng|longitude)[:=] ?))",
             R"(-?\d{1,3}\.\d{2,})", "", isCoordinate},
            {K::Position, R"(Location\[\w+ )", R"(-?\d{1,3}[.,]\d+, ?-?\d{1,3}[.,]\d+)", "",
             isValue},
            {K::Position, R"(\bgeo:)", R"(-?\d{1,3}\.\d+,-?\d{1,3}\.\d+)", "", isValue},
            {K::Position, R"(\bm(?:Ci|Cid|Nci|Tac|Lac) ?= ?)", R"(\d{2,})", "", isCellId},

            {K::Host,
             R"((?i:\b(?:https?|wss?|ftps?|mqtts?|rtsps?|coaps?|smb|ldaps?)://)(?:[^/@ \t]*@)?)",
             "[A-Za-z0-9](?:[A-Za-z0-9.-]*[A-Za-z0-9])?", "", isUrlHost},
            {K::Host,
             key(R"(\b(?:host|host_?name|sni|server(?:_?name)?|proxy(?:_?(?:host|server))?|fqdn))"),
             kDomainName, "", isHostName},
            {K::Host, R"((?i:\bhost ["']))", "[A-Za-z0-9.-]+", R"(["'])", isUrlHost},
            {K::Host, key(R"(\b(?:net\.)?hostname)"), "[A-Za-z0-9][A-Za-z0-9-]+", "", isUrlHost},
            {K::Host, "", kDomainName, R"(/\d{1,3}(?:\.\d{1,3}){3})", isHostName},
    };
}

}  // namespace

const std::vector<MaskRule>& maskRules() {
    static const std::vector<MaskRule> kRules = makeRules();
    return kRules;
}

}  // namespace kaveldesk
