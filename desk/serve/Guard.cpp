#include "desk/serve/Guard.h"

#include <fmt/core.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <strings.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <stdexcept>
#include <string_view>

#include "desk/parse/Text.h"
#include "desk/serve/Listen.h"

namespace kaveldesk {
namespace {

constexpr std::string_view kCookie = "kaveldesk=";

/** Takes the same time wherever they differ. */
bool areEqual(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string machineName() {
    std::array<char, HOST_NAME_MAX + 1> name = {};
    if (gethostname(name.data(), name.size() - 1) != 0) return {};
    return name.data();
}

}  // namespace

Guard::Guard(std::optional<std::string> token)
      : mToken(std::move(token)), mSession(randomToken()), mMachine(machineName()) {}

bool Guard::isOwnHost(const std::string& host) const {
    const size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && host.find(']', colon) == std::string::npos;
    const std::string name = hasPort ? host.substr(0, colon) : host;
    return isNumericHost(name) || strcasecmp(name.c_str(), "localhost") == 0 ||
           (!mMachine.empty() && strcasecmp(name.c_str(), mMachine.c_str()) == 0);
}

bool Guard::hasToken(const std::string& authorization) const {
    constexpr std::string_view kBearer = "Bearer ";
    return mToken && startsWith(authorization, kBearer) &&
           areEqual(std::string_view(authorization).substr(kBearer.size()), *mToken);
}

bool Guard::lets(const std::string& authorization, const std::string& cookies) const {
    if (!mToken || hasToken(authorization)) return true;
    std::string_view rest = cookies;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(';'), rest.size());
        const std::string_view cookie = trim(rest.substr(0, end));
        if (startsWith(cookie, kCookie) && areEqual(cookie.substr(kCookie.size()), mSession)) {
            return true;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

std::string Guard::loginCookie() const {
    return fmt::format("{}{}; HttpOnly; SameSite=Strict; Path=/", kCookie, mSession);
}

std::string randomToken() {
    std::array<unsigned char, 32> bytes = {};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("The system has no random numbers.");
    }
    std::string token;
    for (const unsigned char byte : bytes) token += fmt::format("{:02x}", byte);
    return token;
}

}  // namespace kaveldesk
