#include "tests/dump/DumpBench.h"

#include <cstdlib>

#include "event/KavelTimestamp.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace test {

DumpBench::DumpBench(std::function<int(const std::string&)> run, std::function<void()> beforeSleep)
      : mRun(std::move(run)), mBeforeSleep(std::move(beforeSleep)) {
    setenv("TZ", "UTC", 1);
    fake::captureLog();
    fake::resetTime(kStartUs);
    fake::takePropertySets();
    fake::resetShell([this](const std::string& command) { return onCommand(command); });
    fake::onSleep([this](uint64_t seconds) { onSleep(seconds); });
    mContext = std::make_unique<DumpContext>(mParameters);
    const std::shared_future<void> release = mRelease.get_future().share();
    for (int worker = 1; worker < 10; ++worker) {
        std::promise<void> started;
        mContext->cmdPool.commit([&started, release] {
            started.set_value();
            release.wait();
        });
        started.get_future().wait();
    }
    const auto prefix = [this](std::KavelThreadPool& pool, const char* text) {
        const auto set = [this, text] {
            MutexLock lock(mLock);
            mPrefixes[std::this_thread::get_id()] = text;
        };
        pool.commit(set).wait();
    };
    prefix(mContext->cmdPool, "cmd: ");  // the tenth worker
    prefix(mContext->logcatPool, "logcat: ");
    MutexLock lock(mLock);
    mPrefixes[std::this_thread::get_id()] = "";
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
    const int pid = 4711 - kRecordId + recordId;
    const auto event = std::make_shared<KavelEvent>(eventId, &now, static_cast<int>(logInfo), pid,
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
    for (const auto& [prefix, lines] : std::exchange(mLines, {})) mTranscript += lines;
    return std::exchange(mTranscript, "");
}

int DumpBench::onCommand(const std::string& command) {
    {
        MutexLock lock(mLock);
        copyLogLocked();
        const auto [deadline, fileSize] = fake::shellLimits();
        const long long seconds =
                std::chrono::duration_cast<std::chrono::seconds>(deadline).count();
        std::string limits = "$" + std::to_string(seconds);
        if (fileSize != 0) limits += "/" + std::to_string(fileSize >> 20U);
        addLineLocked(std::this_thread::get_id(), limits + " " + command);
    }
    return mRun ? mRun(command) : 0;
}

void DumpBench::onSleep(uint64_t seconds) {
    const std::string before = takeTranscript();
    {
        MutexLock lock(mLock);
        mTranscript = before;
        addLineLocked(std::this_thread::get_id(), "sleep " + std::to_string(seconds));
    }
    if (mBeforeSleep) mBeforeSleep();
}

void DumpBench::copyLogLocked() {
    for (const fake::LogLine& line : fake::drainLog()) {
        std::string text = fake::shown(line);
        if (text[0] == 'V') text.erase(0, 2);  // of a trace section
        const bool hasNewline = text.back() == '\n';
        addLineLocked(line.thread, hasNewline ? text.substr(0, text.size() - 1) : text + "\\");
    }
    for (const auto& [key, value] : fake::takePropertySets()) {
        addLineLocked(std::this_thread::get_id(), "property " + key + "=" + value);
    }
}

void DumpBench::addLineLocked(std::thread::id thread, std::string line) {
    const auto prefix = mPrefixes.find(thread);
    std::string& lines = mLines[prefix == mPrefixes.end() ? "other: " : prefix->second];
    lines += (prefix == mPrefixes.end() ? "other: " : prefix->second) +
             replaced(line, "\n", "\\n") + "\n";
}

}  // namespace test
}  // namespace android::kavel
