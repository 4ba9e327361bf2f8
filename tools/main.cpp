#include <unistd.h>

#include <iostream>

#include "tools/Commands.h"

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return android::kavel::tools::runKavelctl(
            words, {std::cout, std::cerr, isatty(STDOUT_FILENO) != 0, isatty(STDERR_FILENO) != 0});
}
