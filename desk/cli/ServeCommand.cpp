#include <fmt/core.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Error.hpp>

#include "desk/cli/Commands.h"
#include "desk/cli/FilterOptions.h"
#include "desk/parse/Printable.h"
#include "desk/parse/Text.h"
#include "desk/serve/Guard.h"
#include "desk/serve/Serve.h"
#include "desk/store/Store.h"

namespace kaveldesk {
namespace {

struct ServeOptions {
    std::string db;
    std::string listen = "127.0.0.1:8080";
    std::optional<std::string> watch;
    std::optional<std::string> tokenFile;
};

/** The first line of a file. */
std::string readToken(const std::string& path) {
    constexpr size_t kShortest = 16;
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    if (!file && line.empty()) throw std::runtime_error(path + " has no token that can be read");
    std::string token(trim(line));
    if (token.size() >= kShortest) return token;
    throw std::runtime_error(
            fmt::format("the token in {} has less than {} characters", path, kShortest));
}

void runServe(const ServeOptions& options) {
    ServeSettings settings;
    const auto address = parseListenAddress(options.listen);
    if (!address) {
        throw CLI::ValidationError(
                "--listen",
                fmt::format("'{}' is not an address with a port, such as 127.0.0.1:8080 or "
                            "[::1]:8080",
                            options.listen));
    }
    settings.listen = *address;
    settings.watch = options.watch;
    settings.place = placeOf(options.db, options.watch ? Access::Write : Access::Read);
    if (options.tokenFile) {
        settings.token = readToken(*options.tokenFile);
    } else if (!address->isLoopback()) {
        settings.token = randomToken();
    }
    settings.started = [&](const ListenAddress& at) {
        fmt::print("http://{}/\n", at.text());
        if (settings.token && !options.tokenFile) fmt::print("token: {}\n", *settings.token);
        std::fflush(stdout);
    };
    settings.complained = [](const std::string& sentence) {
        fmt::print(stderr, "kaveldesk: {}\n", printable(sentence));
    };
    serve(settings);
}

}  // namespace

void addServe(CLI::App& app) {
    const auto options = std::make_shared<ServeOptions>();
    CLI::App* const command = app.add_subcommand(
            "serve",
            "Shows the index in a browser: catches per day, fingerprints, lists, and the report of "
            "each archive.\n"
            "Prints its address and runs until Ctrl-C. Changes nothing but with --watch.");
    command->add_option("--listen", options->listen,
                        "Address and port. If other machines can reach it, clients need a token")
            ->type_name("ADDRESS:PORT")
            ->capture_default_str();
    addPlaceOption(*command, options->db);
    command->add_option("--watch", options->watch,
                        "Index the archives in this folder and below, and each one that comes; "
                        "open pages show them")
            ->type_name("FOLDER");
    command->add_option("--token-file", options->tokenFile,
                        "File whose first line is the token that clients need. Without it, an "
                        "address that others reach gets a token that is printed")
            ->type_name("FILE");
    command->callback([options] { runServe(*options); });
}

}  // namespace kaveldesk
