#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <optional>
#include <string>

#include "desk/serve/Fd.h"

namespace kaveldesk {

/** A numeric address and a port. */
struct ListenAddress {
    sockaddr_storage storage = {};
    socklen_t size = 0;

    /** Only programs of this machine reach it. */
    bool isLoopback() const;
    /** "127.0.0.1:8080", "[::1]:8080" */
    std::string text() const;
};

/** Parses what text() gives; "localhost" is 127.0.0.1. Returns nullopt for anything else. */
std::optional<ListenAddress> parseListenAddress(const std::string& text);

/** Whether @p text is an IPv4 address, or an IPv6 address between brackets. */
bool isNumericHost(const std::string& text);

/** A socket that listens at @p address. Throws std::runtime_error with a sentence. */
Fd listenAt(const ListenAddress& address);

/** Where @p listener listens: the port is known if it was 0 before. */
ListenAddress addressOf(const Fd& listener);

}  // namespace kaveldesk
