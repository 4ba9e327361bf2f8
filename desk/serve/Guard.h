#pragma once

#include <optional>
#include <string>

namespace kaveldesk {

/** Who may read the pages. */
class Guard {
  public:
    /** Without a token, everybody who reaches the server may. */
    explicit Guard(std::optional<std::string> token);

    /**
     * Whether a Host header names this machine by an address, as localhost or by its own name. A
     * page of another site that lets its name point here has a different one.
     */
    bool isOwnHost(const std::string& host) const;
    /** Whether an Authorization or a Cookie header lets the client in. */
    bool lets(const std::string& authorization, const std::string& cookies) const;
    /** Whether an Authorization header has the token. */
    bool hasToken(const std::string& authorization) const;
    /** The Set-Cookie header of a login. It holds until the server ends. */
    std::string loginCookie() const;

  private:
    std::optional<std::string> mToken;
    std::string mSession;
    std::string mMachine;
};

/** 256 random bits as hexadecimal digits. Throws std::runtime_error. */
std::string randomToken();

}  // namespace kaveldesk
