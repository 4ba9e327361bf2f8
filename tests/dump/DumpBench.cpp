#include "tests/dump/DumpBench.h"

#include <cstdlib>

#include <android/log.h>

#include "event/KavelTimestamp.h"
#include "platform/Log.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace test {

DumpBench::DumpBench(std::function<int(const std::string&)> run) : mRun(std::move(run)) {
    setenv("TZ", "UTC", 1);
    fake::captureLog();
    fake::resetTime(kStartUs);
    fake::takePropertySets();
    fake::resetShell([this](const std::string& command) { return onCommand(command); });
    fake::onSleep([this](uint64_t seconds) { onSleep(seconds); });
    mContext = std::make_unique<DumpContext>(mParameters);
    mContext->logcatPool.commit([this] { mLogcatWorker = std::this_thread::get_id(); }).wait();
    const std::shared_future<void> release = mRelease.get_future().share();
    for (int worker = 1; worker < 10; ++worker) {
        std::promise<void> started;
        mContext->cmdPool.commit([&started, release] {
            started.set_value();
            release.wait();
        });
        started.get_future().wait();
    }
    settle();  // the tenth worker is there
    fake::clearLog();
}

DumpBench::~DumpBench() {
    mRelease.set_value();
    mContext = nullptr;  // runs what is still queued
    fake::resetShell();
    fake::onSleep(nullptr);
}

CatchRef DumpBench::add(int64_t eventId, uint32_t logInfo, const KavelExtraInfo& extra,
                        int32_t recordId, const std::string& folder) {
    const KavelTimestamp now = generateKavelTimestamp();
    const auto event = std::make_shared<KavelEvent>(eventId, &now, static_cast<int>(logInfo), 4711,
                                                    10042, &extra);
    event->kavelEventId = recordId;
    CatchRef added = mContext->catches.add(event);
    if (!folder.empty()) added->setFolder(std::make_shared<LogFolder>(folder));
    return added;
}

void DumpBench::settle() {
    for (std::KavelThreadPool* pool : {&mContext->logcatPool, &mContext->cmdPool}) {
        pool->commit([] {}).wait();
    }
}

std::string DumpBench::takeTranscript() {
    settle();
    MutexLock lock(mLock);
    copyLogLocked();
    mTranscript += std::exchange(mLogcatCommands, "") + std::exchange(mCmdCommands, "");
    return std::exchange(mTranscript, "");
}

int DumpBench::onCommand(const std::string& command) {
    {
        MutexLock lock(mLock);
        const std::thread::id thread = std::this_thread::get_id();
        if (thread == mCaller) {
            copyLogLocked();
            mTranscript += "$ " + command + "\n";
        } else if (thread == mLogcatWorker) {
            mLogcatCommands += "logcat-pool$ " + command + "\n";
        } else {
            mCmdCommands += "cmd-pool$ " + command + "\n";
        }
    }
    return mRun ? mRun(command) : 0;
}

void DumpBench::onSleep(uint64_t seconds) {
    const std::string before = takeTranscript();
    MutexLock lock(mLock);
    mTranscript = before + "sleep " + std::to_string(seconds) + "\n";
}

void DumpBench::copyLogLocked() {
    for (const fake::LogLine& line : fake::logLines()) {
        // The place of a pool task's lines among these is a matter of chance; the event
        // builder's lines come from the bench's own time stamps.
        if (line.thread != mCaller || line.tag == KAVEL_TAG_BINDER) continue;
        mTranscript += (line.priority == ANDROID_LOG_INFO   ? "I "
                        : line.priority == ANDROID_LOG_WARN ? "W "
                                                            : "E ") +
                       line.text;
        if (mTranscript.back() != '\n') mTranscript += '\n';
    }
    fake::clearLog();
    for (const auto& [key, value] : fake::takePropertySets()) {
        mTranscript += "property " + key + "=" + value + "\n";
    }
}

}  // namespace test
}  // namespace android::kavel
