#pragma once

#include <functional>
#include <optional>
#include <string>

#include "desk/serve/Listen.h"

namespace kaveldesk {

struct ServeSettings {
    ListenAddress listen;
    std::string place;                 // of the index, for openStore()
    std::optional<std::string> watch;  // folder whose archives are indexed
    std::optional<std::string> token;  // without it, everybody who reaches the address may read
    /** Called when clients can connect. */
    std::function<void(const ListenAddress&)> started;
    /** A sentence about something that does not end the server. Called by any thread. */
    std::function<void(const std::string&)> complained;
};

/** Serves the pages until SIGINT or SIGTERM. Throws std::runtime_error if it cannot begin. */
void serve(const ServeSettings& settings);

}  // namespace kaveldesk
