#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace kaveldesk {

/** Makes the whole reply to a request from its head. Must not throw; an empty reply is none. */
using Answer = std::function<std::string(const std::string& head)>;

/** Threads that answer requests. The functions are for one thread. */
class AnswerPool {
  public:
    struct Reply {
        uint64_t connection;
        std::string bytes;
    };

    /**
     * @param answers  one for each thread, which alone calls it
     * @param wake     called by the threads when a reply is there
     */
    AnswerPool(std::vector<Answer> answers, std::function<void()> wake);
    /** Drops requests that wait, and waits for the others. */
    ~AnswerPool();
    AnswerPool(const AnswerPool&) = delete;
    AnswerPool& operator=(const AnswerPool&) = delete;

    /** The caller bounds how many requests wait. */
    void ask(uint64_t connection, std::string head) EXCLUDES(mMutex);
    std::vector<Reply> takeReplies() EXCLUDES(mMutex);

  private:
    struct Request {
        uint64_t connection;
        std::string head;
    };
    void run(const Answer& answer) EXCLUDES(mMutex);

    const std::vector<Answer> mAnswers;
    const std::function<void()> mWake;
    android::kavel::Mutex mMutex;
    std::condition_variable mHasRequest;
    std::deque<Request> mRequests GUARDED_BY(mMutex);
    std::vector<Reply> mReplies GUARDED_BY(mMutex);
    bool mIsEnding GUARDED_BY(mMutex) = false;
    std::vector<std::thread> mThreads;
};

}  // namespace kaveldesk
