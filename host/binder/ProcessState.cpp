#define LOG_TAG "binder"

#include <binder/ProcessState.h>

#include <binder/IPCThreadState.h>
#include <log/log.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <system_error>
#include <thread>

namespace android {
namespace {

constexpr size_t kDefaultMaxThreads = 15;  // as in libbinder

}  // namespace

sp<ProcessState> ProcessState::self() {
    // Never destroyed: pool threads run until the process ends.
    static const sp<ProcessState>& state = *new sp<ProcessState>(new ProcessState("unix sockets"));
    return state;
}

ProcessState::ProcessState(const char* driver)
      : mDriverName(driver),
        mDriverFD(-1),
        mVMStart(nullptr),
        mThreadCountLock(PTHREAD_MUTEX_INITIALIZER),
        mThreadCountDecrement(PTHREAD_COND_INITIALIZER),
        mExecutingThreadsCount(0),
        mMaxThreads(kDefaultMaxThreads),
        mStarvationStartTimeMs(0),
        mBinderContextCheckFunc(nullptr),
        mBinderContextUserData(nullptr),
        mThreadPoolStarted(false),
        mThreadPoolSeq(0),
        mCallRestriction(CallRestriction::NONE) {}

ProcessState::~ProcessState() = default;

status_t ProcessState::setThreadPoolMaxThreadCount(size_t maxThreads) {
    const AutoMutex lock(mLock);
    mMaxThreads = maxThreads;
    return NO_ERROR;
}

void ProcessState::startThreadPool() {
    {
        const AutoMutex lock(mLock);
        if (mThreadPoolStarted) return;
        mThreadPoolStarted = true;
    }
    spawnPooledThread(true);
}

String8 ProcessState::makeBinderThreadName() {
    return String8::format("Binder:%d_%X", getpid(), ++mThreadPoolSeq);
}

/** Starts a pool thread: always the main one, others only up to the maximum. */
void ProcessState::spawnPooledThread(bool isMain) {
    const AutoMutex lock(mLock);
    if (!mThreadPoolStarted) return;
    if (!isMain && static_cast<size_t>(mThreadPoolSeq) >= mMaxThreads) return;
    const String8 name = makeBinderThreadName();
    try {
        std::thread([name, isMain] {
            prctl(PR_SET_NAME, name.c_str());
            IPCThreadState::self()->joinThreadPool(isMain);
        }).detach();
    } catch (const std::system_error& error) {
        ALOGE("cannot start thread '%s': %s", name.c_str(), error.what());
    }
}

}  // namespace android
