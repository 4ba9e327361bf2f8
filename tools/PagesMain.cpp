#include <cstdlib>
#include <fstream>

#include "tools/Commands.h"
#include "tools/Pages.h"

/** Writes kavelctl.1 and kavelctl.bash into the current directory. */
int main() {
    namespace tools = android::kavel::tools;
    std::ofstream page("kavelctl.1");
    tools::printManPage(page, tools::allCommands());
    std::ofstream completion("kavelctl.bash");
    tools::printCompletion(completion, tools::allCommands());
    return page.flush() && completion.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}
