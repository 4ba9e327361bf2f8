#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace kaveldesk::test {

/** The signal that ends a child which runs @p work; 0 if it comes to its end. */
inline int statusOfChild(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

/** From now on, a write that makes any file @p more bytes larger than @p path is ends the process,
 * in the middle of that write. */
inline void endWhenAFileGrows(const std::string& path, uintmax_t more) {
    const auto size = std::filesystem::file_size(path) + more;
    const rlimit limit = {size, size};
    setrlimit(RLIMIT_FSIZE, &limit);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

}  // namespace kaveldesk::test
