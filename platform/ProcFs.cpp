#include "platform/ProcFs.h"

#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <android-base/macros.h>
#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>

namespace android::kavel {

ProcRead readProcFile(int pid, const char* name, char* buffer, size_t size) {
    buffer[0] = '\0';
    const std::string path = base::StringPrintf("/proc/%d/%s", pid, name);
    const base::unique_fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok()) return ProcRead::NotOpened;
    size_t length = 0;
    while (length < size - 1) {
        const ssize_t got =
                TEMP_FAILURE_RETRY(read(file.get(), buffer + length, size - 1 - length));
        if (got < 0) {
            buffer[0] = '\0';
            return ProcRead::NotRead;
        }
        if (got == 0) break;
        length += static_cast<size_t>(got);
    }
    buffer[length] = '\0';
    return ProcRead::Done;
}

bool forEachProcess(const std::function<bool(int pid)>& visit) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc"), closedir);
    if (directory == nullptr) return false;
    while (const dirent* const entry = readdir(directory.get())) {
        const int pid = atoi(entry->d_name);
        if (pid >= 1 && !visit(pid)) break;
    }
    return true;
}

}  // namespace android::kavel
