// Writes kaveldesk.1 and kaveldesk.bash into the current folder. Part of the build, not installed.

#include <cstdlib>
#include <fstream>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/cli/Kaveldesk.h"
#include "desk/pages/Pages.h"

int main() {
    const auto app = kaveldesk::makeApp();
    std::ofstream man("kaveldesk.1");
    man << kaveldesk::manPage(*app, KAVELDESK_VERSION) << std::flush;
    std::ofstream completion("kaveldesk.bash");
    completion << kaveldesk::bashCompletion(*app) << std::flush;
    return man && completion ? EXIT_SUCCESS : EXIT_FAILURE;
}
