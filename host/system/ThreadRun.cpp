// libutils sets thread names only on Android. This definition replaces the library's: the thread
// sets its name and then runs the library's own _threadLoop.

#include <utils/AndroidThreads.h>
#include <utils/Thread.h>

#include <memory>
#include <string>

namespace {

struct Start {
    android_thread_func_t loop;
    void* self;
    std::string name;
};

int nameThenLoop(void* argument) {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    const auto [loop, self] = std::pair(start->loop, start->self);
    androidSetThreadName(start->name.c_str());
    return loop(self);
}

}  // namespace

namespace android {

status_t Thread::run(const char* name, int32_t priority, size_t stack) {
    const Mutex::Autolock lock(mLock);
    if (mRunning) return INVALID_OPERATION;

    mStatus = OK;
    mExitPending = false;
    mHoldSelf = this;  // the loop takes it over, and releases it at the end
    mRunning = true;

    auto start = std::make_unique<Start>(Start{_threadLoop, this, name});
    const auto create = mCanCallJava ? androidCreateThreadEtc : androidCreateRawThreadEtc;
    // mThread has its idle value, from the constructor or from the end of an earlier loop.
    if (create(nameThenLoop, start.get(), name, priority, stack, &mThread) == 0) {
        mStatus = UNKNOWN_ERROR;
        mRunning = false;
        mHoldSelf.clear();
        return UNKNOWN_ERROR;
    }
    static_cast<void>(start.release());  // now owned by the thread
    return OK;
}

}  // namespace android
