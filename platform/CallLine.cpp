#include "platform/CallLine.h"

#include <system_error>
#include <thread>
#include <utility>

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;

/** Time for which an idle thread waits for another call: a burst of calls needs only one thread. */
constexpr std::chrono::seconds kIdleTime(1);

}  // namespace

CallLine::Outcome CallLine::call(std::function<void()> body, std::chrono::milliseconds patience) {
    const Clock::time_point now = Clock::now();
    const auto call = std::make_shared<Call>(Call{std::move(body), now});
    bool isOverdue = false;
    bool wakes = false;
    {
        MutexLock lock(mLock);
        if (mOutstanding.size() >= mLimit) return Outcome::Full;
        isOverdue = !mOutstanding.empty() && now - mOutstanding.front()->since >= patience;
        mQueue.push_back(call);
        wakes = mIdle >= mQueue.size();
        if (!wakes && mThreads < mAtOnce && !startThreadLocked() && mIdle == 0) {
            mQueue.pop_back();
            return Outcome::NoThread;
        }
        mOutstanding.push_back(call);
    }
    if (wakes) mQueued.notify_one();
    if (isOverdue) return Outcome::NotAwaited;
    MutexLock lock(mLock);
    while (call->isOutstanding && lock.waitUntil(mReturned, now + patience)) {
    }
    return call->isOutstanding ? Outcome::Late : Outcome::Returned;
}

bool CallLine::startThreadLocked() {
    try {
        std::thread([this] { serve(); }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    ++mThreads;
    return true;
}

void CallLine::serve() {
    while (const CallRef call = next()) {
        call->body();
        finish(call);
    }
}

CallLine::CallRef CallLine::next() {
    const Clock::time_point end = Clock::now() + kIdleTime;
    MutexLock lock(mLock);
    ++mIdle;
    while (mQueue.empty() && lock.waitUntil(mQueued, end)) {
    }
    --mIdle;
    if (mQueue.empty()) {
        --mThreads;
        return nullptr;
    }
    CallRef call = std::move(mQueue.front());
    mQueue.pop_front();
    return call;
}

void CallLine::finish(const CallRef& call) {
    {
        MutexLock lock(mLock);
        call->isOutstanding = false;
        mOutstanding.remove(call);
    }
    mReturned.notify_all();  // without the lock, which the caller takes as soon as it is awake
}

}  // namespace android::kavel
