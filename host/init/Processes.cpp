#include "host/init/Processes.h"

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace android::kavel::host {

void closeInheritedDescriptors() {
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return;
    std::vector<int> open;
    while (const dirent* entry = readdir(directory)) {
        const int fd = atoi(entry->d_name);
        if (fd > STDERR_FILENO && fd != dirfd(directory)) open.push_back(fd);
    }
    closedir(directory);
    for (const int fd : open) close(fd);
}

void killDescendants() {
    // Each pass kills the current children. Their children become children of this process, and
    // the next pass kills them.
    const std::string list = "/proc/self/task/" + std::to_string(getpid()) + "/children";
    do {
        std::ifstream children(list);
        for (pid_t child = 0; children >> child;) kill(child, SIGKILL);
    } while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR);
}

}  // namespace android::kavel::host
