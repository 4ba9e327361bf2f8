#include "desk/cli/Kaveldesk.h"

#include <exception>
#include <initializer_list>

#include <fmt/core.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/cli/Commands.h"
#include "desk/parse/Printable.h"

namespace kaveldesk {
namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const std::initializer_list<void (*)(CLI::App&)> kCommands = {
        addTimeline, addCause,   addReport,  addMask, addIndex, addTop,
        addTrend,    addCompare, addSimilar, addShow, addSql,   addServe};

}  // namespace

std::unique_ptr<CLI::App> makeApp() {
    auto app = std::make_unique<CLI::App>(
            "Reads the archives of dravo_kavel: from the evidence to the cause.", "kaveldesk");
    app->set_version_flag("--version", KAVELDESK_VERSION);
    app->require_subcommand(1);
    for (const auto add : kCommands) add(*app);
    return app;
}

int run(int argc, const char* const* argv) {
    const auto app = makeApp();
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app->exit(error) == 0 ? 0 : kUsage;
    } catch (const std::exception& error) {
        fmt::print(stderr, "kaveldesk: {}\n", printable(error.what()));
        return kFailed;
    }
    return 0;
}

}  // namespace kaveldesk
