#include "desk/serve/AnswerPool.h"

namespace kaveldesk {

using android::kavel::MutexLock;

AnswerPool::AnswerPool(std::vector<Answer> answers, std::function<void()> wake)
      : mAnswers(std::move(answers)), mWake(std::move(wake)) {
    for (const Answer& answer : mAnswers) mThreads.emplace_back([this, &answer] { run(answer); });
}

AnswerPool::~AnswerPool() {
    {
        MutexLock lock(mMutex);
        mRequests.clear();
        mIsEnding = true;
    }
    mHasRequest.notify_all();
    for (std::thread& thread : mThreads) thread.join();
}

void AnswerPool::ask(uint64_t connection, std::string head) {
    {
        MutexLock lock(mMutex);
        mRequests.push_back({connection, std::move(head)});
    }
    mHasRequest.notify_one();
}

std::vector<AnswerPool::Reply> AnswerPool::takeReplies() {
    MutexLock lock(mMutex);
    return std::exchange(mReplies, {});
}

void AnswerPool::run(const Answer& answer) {
    for (;;) {
        Request request;
        {
            MutexLock lock(mMutex);
            while (mRequests.empty() && !mIsEnding) lock.wait(mHasRequest);
            if (mIsEnding) return;
            request = std::move(mRequests.front());
            mRequests.pop_front();
        }
        Reply reply{request.connection, answer(request.head)};
        {
            MutexLock lock(mMutex);
            mReplies.push_back(std::move(reply));
        }
        mWake();
    }
}

}  // namespace kaveldesk
