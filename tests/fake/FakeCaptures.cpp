#include "tests/fake/FakeCaptures.h"

#include <cerrno>

#include "platform/Log.h"
#include "platform/Signals.h"
#include "platform/TraceNativeUtils.h"

namespace android {
namespace kavel {

void callFramework(const char* step, android_LogPriority priority, uint32_t code,
                   std::vector<FrameworkArgument> arguments, std::chrono::milliseconds patience) {
    const int32_t argument = arguments.empty() ? -1 : std::get<int32_t>(arguments[0]);
    KAVEL_LOGI(KAVEL_NO_TAG, "fake: request %u of %s, argument %d, %d ms, priority %d\n", code,
               step, argument, static_cast<int>(patience.count()), priority);
}

int queueSignal(pid_t pid, int signal) {
    KAVEL_LOGI(KAVEL_NO_TAG, "fake: signal %d to %d\n", signal, pid);
    errno = ESRCH;
    return fake::signalsWork ? 0 : -1;
}

}  // namespace kavel

namespace {

class Utils : public TraceNativeUtils {
    void flush(const std::string& session, bool stop, bool restart) override {
        KAVEL_LOGI(KAVEL_NO_TAG, "fake: flush %s %d %d\n", session.c_str(), stop, restart);
    }
};

}  // namespace

TraceNativeUtils* TraceNativeUtils::getInstance() {
    static Utils utils;
    return kavel::fake::hasTraceUtility ? &utils : nullptr;
}

}  // namespace android
