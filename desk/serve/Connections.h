#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "desk/serve/AnswerPool.h"
#include "desk/serve/Connection.h"
#include "desk/serve/Fd.h"

namespace kaveldesk {

/**
 * Takes HTTP requests and sends replies, one request for each connection. One thread moves all
 * bytes; the threads of the pool only ever see whole heads and make whole replies. So a client that
 * sends or reads slowly holds nothing but its connection, which ends at a deadline, or sooner if
 * others need its place.
 */
class Connections {
  public:
    /** @param answers  one for each thread that answers */
    Connections(Fd listener, std::vector<Answer> answers);

    /** Serves until @p stop is readable, and closes all connections. */
    void run(const Fd& stop);

  private:
    using Clock = Connection::Clock;
    using Place = std::map<uint64_t, Connection>::iterator;

    void acceptAll();
    /** Whether there is a place for a new connection, or one that can be taken from another. */
    bool hasPlace();
    /** The connection whose client has done nothing for the longest time. */
    Place mostIdle(bool ofReplies);
    void step(Place place);
    void takeReplies();
    void limitReplies();
    void endOld();
    int pollTimeout() const;

    const Fd mListener;
    const Fd mWake;
    Clock::time_point mNow;
    Clock::time_point mAcceptAt;  // not before
    uint64_t mNext = 0;
    std::map<uint64_t, Connection> mConnections;
    AnswerPool mPool;  // last: its threads use the others
};

}  // namespace kaveldesk
