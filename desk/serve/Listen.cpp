#include "desk/serve/Listen.h"

#include <arpa/inet.h>
#include <fmt/core.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace kaveldesk {
namespace {

bool isBetweenBrackets(const std::string& text) {
    return text.size() > 2 && text.front() == '[' && text.back() == ']';
}

std::string withoutBrackets(const std::string& text) {
    return isBetweenBrackets(text) ? text.substr(1, text.size() - 2) : text;
}

}  // namespace

bool ListenAddress::isLoopback() const {
    if (storage.ss_family == AF_INET) {
        in_addr address = {};
        std::memcpy(&address, &reinterpret_cast<const sockaddr_in&>(storage).sin_addr,
                    sizeof(address));
        return ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET;
    }
    return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6&>(storage).sin6_addr);
}

std::string ListenAddress::text() const {
    std::array<char, INET6_ADDRSTRLEN> host = {};
    if (storage.ss_family == AF_INET) {
        const auto& address = reinterpret_cast<const sockaddr_in&>(storage);
        inet_ntop(AF_INET, &address.sin_addr, host.data(), host.size());
        return fmt::format("{}:{}", host.data(), ntohs(address.sin_port));
    }
    const auto& address = reinterpret_cast<const sockaddr_in6&>(storage);
    inet_ntop(AF_INET6, &address.sin6_addr, host.data(), host.size());
    return fmt::format("[{}]:{}", host.data(), ntohs(address.sin6_port));
}

bool isNumericHost(const std::string& text) {
    in6_addr ignored = {};
    if (isBetweenBrackets(text))
        return inet_pton(AF_INET6, withoutBrackets(text).c_str(), &ignored) == 1;
    return inet_pton(AF_INET, text.c_str(), &ignored) == 1;
}

std::optional<ListenAddress> parseListenAddress(const std::string& text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos) return std::nullopt;
    std::string host = text.substr(0, colon);
    if (host == "localhost") host = "127.0.0.1";
    if (!isNumericHost(host)) return std::nullopt;
    uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, port);
    if (error != std::errc() || rest != end) return std::nullopt;

    ListenAddress address;
    if (isBetweenBrackets(host)) {
        auto& v6 = reinterpret_cast<sockaddr_in6&>(address.storage);
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        inet_pton(AF_INET6, withoutBrackets(host).c_str(), &v6.sin6_addr);
        address.size = sizeof(v6);
    } else {
        auto& v4 = reinterpret_cast<sockaddr_in&>(address.storage);
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        inet_pton(AF_INET, host.c_str(), &v4.sin_addr);
        address.size = sizeof(v4);
    }
    return address;
}

Fd listenAt(const ListenAddress& address) {
    Fd listener(socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int yes = 1;
    // A port whose last connections have just ended is free.
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    const auto* const any = reinterpret_cast<const sockaddr*>(&address.storage);
    if (listener.get() >= 0 && bind(listener.get(), any, address.size) == 0 &&
        listen(listener.get(), SOMAXCONN) == 0) {
        return listener;
    }
    const std::string reason = errno == EADDRINUSE ? "another program listens there"
                                                   : std::generic_category().message(errno);
    throw std::runtime_error(fmt::format("cannot listen at {}: {}", address.text(), reason));
}

ListenAddress addressOf(const Fd& listener) {
    ListenAddress address;
    address.size = sizeof(address.storage);
    getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address.storage), &address.size);
    return address;
}

}  // namespace kaveldesk
