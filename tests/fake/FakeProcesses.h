#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace android::kavel::fake {

/** What /proc says of a process; no text where the file can be opened but not read. */
struct Process {
    std::optional<std::string> status;
    std::optional<std::string> cmdline;
};

/** A process of user @p uid, as the kernel describes it. */
Process process(int uid, const std::string& command = "app");

// A scripted /proc, and signals and panics that are only written down.

void setProcesses(std::map<int, Process> processes);
void setProcess(int pid, const Process& process);
void removeProcess(int pid);
/** From now on /proc cannot be opened, or can again. */
void closeProc(bool closed);

/** Everything sent to processes since the last call: "signal PID NUMBER" and "panic", in order. */
std::vector<std::string> takeDeeds();
/** From now on the kernel refuses to panic, or no longer. */
void refusePanic(bool refuse);

}  // namespace android::kavel::fake
