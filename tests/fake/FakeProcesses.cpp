#include "tests/fake/FakeProcesses.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <android-base/stringprintf.h>

#include "platform/Mutex.h"
#include "platform/ProcFs.h"
#include "platform/Signals.h"
#include "platform/SysrqTrigger.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace fake {
namespace {

struct Kernel {
    Mutex lock;
    std::map<int, Process> processes GUARDED_BY(lock);
    bool procClosed GUARDED_BY(lock) = false;
    bool panicRefused GUARDED_BY(lock) = false;
    bool signalsRefused GUARDED_BY(lock) = false;
};

Kernel& kernel() {
    static auto* instance = new Kernel;  // late threads use it too
    return *instance;
}

}  // namespace

Process process(int uid, const std::string& command) {
    return {base::StringPrintf("Name:\t%s\nState:\tS (sleeping)\nUid:\t%d\t%d\t%d\t%d\nGid:\t1\n",
                               command.c_str(), uid, uid, uid, uid),
            command + '\0'};
}

void setProcesses(std::map<int, Process> processes) {
    MutexLock lock(kernel().lock);
    kernel().processes = std::move(processes);
}

void setProcess(int pid, const Process& process) {
    MutexLock lock(kernel().lock);
    kernel().processes[pid] = process;
}

void removeProcess(int pid) {
    MutexLock lock(kernel().lock);
    kernel().processes.erase(pid);
}

void closeProc(bool closed) {
    MutexLock lock(kernel().lock);
    kernel().procClosed = closed;
}

void refusePanic(bool refuse) {
    MutexLock lock(kernel().lock);
    kernel().panicRefused = refuse;
}

void refuseSignals(bool refuse) {
    MutexLock lock(kernel().lock);
    kernel().signalsRefused = refuse;
}

}  // namespace fake

ProcRead readProcFile(int pid, const char* name, char* buffer, size_t size) {
    MutexLock lock(fake::kernel().lock);
    buffer[0] = '\0';
    const auto found = fake::kernel().processes.find(pid);
    if (found == fake::kernel().processes.end()) return ProcRead::NotOpened;
    const fake::Process& process = found->second;
    const auto& text = strcmp(name, "status") == 0 ? process.status : process.cmdline;
    if (!text) return ProcRead::NotRead;
    buffer[text->copy(buffer, size - 1)] = '\0';
    return ProcRead::Done;
}

bool forEachProcess(const std::function<bool(int pid)>& visit) {
    std::map<int, fake::Process> processes;
    {
        MutexLock lock(fake::kernel().lock);
        errno = EACCES;
        if (fake::kernel().procClosed) return false;
        processes = fake::kernel().processes;
    }
    for (const auto& [pid, process] : processes) {
        if (!visit(pid)) break;
    }
    return true;
}

int sendSignal(pid_t pid, int signal) {
    MutexLock lock(fake::kernel().lock);
    errno = EPERM;
    if (fake::kernel().signalsRefused) return -1;
    fake::note(base::StringPrintf("signal %d %d", pid, signal));
    return 0;
}

bool triggerKernelPanic() {
    MutexLock lock(fake::kernel().lock);
    if (fake::kernel().panicRefused) return false;
    fake::note("panic");
    return true;
}

}  // namespace android::kavel
