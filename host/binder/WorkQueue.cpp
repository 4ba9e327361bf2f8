#include "host/binder/WorkQueue.h"

#include <utility>

namespace android::kavel::host {
namespace {

// Bytes that the driver needs for each call in addition to the data.
constexpr size_t kCallOverhead = 104;

size_t costOf(const Call& call) {
    return call.frame.body.size() + kCallOverhead;
}

}  // namespace

WorkQueue& WorkQueue::instance() {
    static WorkQueue& queue = *new WorkQueue;
    return queue;
}

bool WorkQueue::post(Call call) {
    const size_t cost = costOf(call);
    const size_t oneWayCost = call.isOneWay() ? cost : 0;
    const Mutex::Autolock lock(mLock);
    if (mUsed + cost > kTransactionSpace || mOneWayUsed + oneWayCost > kOneWaySpace) return false;
    mUsed += cost;
    mOneWayUsed += oneWayCost;
    if (call.isOneWay()) {
        const auto [waiting, isFirst] = mOneWay.try_emplace(call.object.get());
        if (!isFirst) {
            waiting->second.push_back(std::move(call));
            return true;
        }
    }
    mReady.push_back(std::move(call));
    mWork.signal();
    return true;
}

Call WorkQueue::take(bool* wasLastIdle) {
    const Mutex::Autolock lock(mLock);
    ++mIdle;
    while (mReady.empty()) mWork.wait(mLock);
    --mIdle;
    *wasLastIdle = mIdle == 0;
    Call call = std::move(mReady.front());
    mReady.pop_front();
    return call;
}

void WorkQueue::finish(const Call& call) {
    const size_t cost = costOf(call);
    const Mutex::Autolock lock(mLock);
    mUsed -= cost;
    if (!call.isOneWay()) return;
    mOneWayUsed -= cost;
    const auto waiting = mOneWay.find(call.object.get());
    if (waiting->second.empty()) {
        mOneWay.erase(waiting);
        return;
    }
    mReady.push_back(std::move(waiting->second.front()));
    waiting->second.pop_front();
    mWork.signal();
}

}  // namespace android::kavel::host
