#include "tests/fake/FakeShell.h"

#include <algorithm>

#include "platform/Mutex.h"
#include "platform/Shell.h"

namespace android::kavel {
namespace fake {
namespace {

struct Shell {
    Mutex lock;
    std::condition_variable changed;
    std::vector<std::string> commands GUARDED_BY(lock);
    std::function<int(const std::string&)> result GUARDED_BY(lock);
};

Shell& shell() {
    static auto* instance = new Shell;
    return *instance;
}

thread_local ShellLimits tLimits;

size_t countIn(const std::vector<std::string>& commands, const std::string& text) {
    return static_cast<size_t>(std::count_if(
            commands.begin(), commands.end(),
            [&](const std::string& command) { return command.find(text) != std::string::npos; }));
}

}  // namespace

std::vector<std::string> commands() {
    MutexLock lock(shell().lock);
    return shell().commands;
}

size_t commandCount(const std::string& text) {
    MutexLock lock(shell().lock);
    return countIn(shell().commands, text);
}

void awaitCommands(const std::string& text, size_t count) {
    MutexLock lock(shell().lock);
    while (countIn(shell().commands, text) < count) lock.wait(shell().changed);
}

void resetShell(std::function<int(const std::string&)> result) {
    MutexLock lock(shell().lock);
    shell().commands.clear();
    shell().result = std::move(result);
}

ShellLimits shellLimits() {
    return tLimits;
}

}  // namespace fake

int runShell(const std::string& command, std::chrono::milliseconds deadline, uint64_t fileLimit) {
    fake::tLimits = {deadline, fileLimit};
    std::function<int(const std::string&)> result;
    {
        MutexLock lock(fake::shell().lock);
        fake::shell().commands.push_back(command);
        fake::shell().changed.notify_all();
        result = fake::shell().result;
    }
    return result ? result(command) : 0;
}

}  // namespace android::kavel
