#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "desk/serve/Fd.h"

namespace kaveldesk {

/** One client: it sends the head of a request, waits, and takes the reply. Bodies are not read. */
class Connection {
  public:
    using Clock = std::chrono::steady_clock;
    enum class State : uint8_t {
        Head,    // the client sends
        Answer,  // the reply is being made: nothing ends it
        Reply,   // the client takes
        End,     // the client takes what is on its way
    };

    /** @param socket  does not block */
    Connection(Fd socket, Clock::time_point now);

    /** Moves bytes if the client has done its part. Returns false if it is at its end. */
    bool step(Clock::time_point now);
    /** The head that is complete in the state Answer, once. */
    std::string takeHead() { return std::move(mBytes); }
    /** Starts the reply. Returns false if it is at its end. */
    bool reply(std::string bytes, Clock::time_point now);

    State state() const { return mState; }
    int socket() const { return mSocket.get(); }
    /** When it ends if the client does nothing. */
    Clock::time_point deadline() const;
    /** When the client did its part last. */
    Clock::time_point moved() const { return mMoved; }
    /** Bytes of a reply that are not sent yet. */
    size_t replySize() const { return mState == State::Reply ? mBytes.size() : 0; }

  private:
    bool receive(Clock::time_point now);
    bool send(Clock::time_point now);

    Fd mSocket;
    State mState = State::Head;
    std::string mBytes;  // the head, or the reply
    size_t mSent = 0;
    Clock::time_point mDeadline;
    Clock::time_point mMoved;
};

}  // namespace kaveldesk
