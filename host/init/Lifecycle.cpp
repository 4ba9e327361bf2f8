#include "host/init/Lifecycle.h"

namespace android::kavel::host {

Lifecycle::Step Lifecycle::requestStart() {
    if (mShutDown || mState == State::Running) return Step::Nothing;
    if (mState == State::Stopping) {
        mStartAgain = true;
        return Step::Nothing;
    }
    return Step::Start;
}

Lifecycle::Step Lifecycle::requestStop() {
    mStartAgain = false;
    if (mState == State::Running) {
        mState = State::Stopping;
        return Step::Kill;
    }
    if (mState == State::Restarting) mState = State::Stopped;
    return Step::Nothing;
}

Lifecycle::Step Lifecycle::requestRestart() {
    if (mState != State::Running) return requestStart();
    if (mShutDown) return Step::Nothing;
    mState = State::Stopping;
    mStartAgain = true;
    return Step::Kill;
}

void Lifecycle::shutDown() {
    mShutDown = true;
    mStartAgain = false;
    if (mState == State::Restarting) mState = State::Stopped;
}

void Lifecycle::started(BootTime now) {
    mState = State::Running;
    mLastStart = now;
    mStartAgain = false;
}

void Lifecycle::startFailed() {
    mState = State::Stopped;
    mStartAgain = false;
}

void Lifecycle::ended() {
    const bool crashed = mState == State::Running && !mOneshot;
    const bool again = !mShutDown && (mStartAgain || crashed);
    mState = again ? State::Restarting : State::Stopped;
    mStartAgain = false;
}

std::optional<BootTime> Lifecycle::dueAt() const {
    if (mState != State::Restarting) return std::nullopt;
    return mLastStart + mRestartPeriod;
}

Lifecycle::Step Lifecycle::tick(BootTime now) {
    const auto due = dueAt();
    return due && now >= *due ? Step::Start : Step::Nothing;
}

const char* Lifecycle::stateName() const {
    switch (mState) {
        case State::Stopped:
            return "stopped";
        case State::Running:
            return "running";
        case State::Stopping:
            return "stopping";
        case State::Restarting:
            return "restarting";
    }
    return "";
}

}  // namespace android::kavel::host
