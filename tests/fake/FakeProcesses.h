#pragma once

#include <map>
#include <optional>
#include <string>

namespace android::kavel::fake {

/** Files of a process in /proc; nullopt if the file can be opened but not read. */
struct Process {
    std::optional<std::string> status;
    std::optional<std::string> cmdline;
};

/** Returns the kernel's texts for a process of user @p uid. */
Process process(int uid, const std::string& command = "app");

// Replaces /proc; signals and panics are only logged: "V signal PID NUMBER" and "V panic".

void setProcesses(std::map<int, Process> processes);
void setProcess(int pid, const Process& process);
void removeProcess(int pid);
/** Sets whether /proc cannot be opened. */
void closeProc(bool closed);

/** Sets whether the kernel refuses to panic, or to send signals. */
void refusePanic(bool refuse);
void refuseSignals(bool refuse);

}  // namespace android::kavel::fake
