#include "desk/serve/Connections.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace kaveldesk {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using State = Connection::State;

constexpr size_t kMostConnections = 256;
constexpr size_t kMostReplies = 256U << 20;  // bytes of all replies that are not sent yet
// A connection can lose its place to a new one if its client has done nothing for so long.
constexpr seconds kPlaceTime{1};
constexpr milliseconds kAcceptPause{100};

void drain(const Fd& wake) {
    eventfd_t ignored = 0;
    eventfd_read(wake.get(), &ignored);
}

}  // namespace

Connections::Connections(Fd listener, std::vector<Answer> answers)
      : mListener(std::move(listener)),
        mWake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        mPool(std::move(answers), [this] { eventfd_write(mWake.get(), 1); }) {}

void Connections::run(const Fd& stop) {
    constexpr size_t kFirst = 3;  // behind stop, wake and listener
    for (;;) {
        mNow = Clock::now();
        endOld();
        const bool isAccepting = mNow >= mAcceptAt && hasPlace();
        std::vector<pollfd> polls = {{stop.get(), POLLIN, 0},
                                     {mWake.get(), POLLIN, 0},
                                     {isAccepting ? mListener.get() : -1, POLLIN, 0}};
        std::vector<uint64_t> numbers;
        for (const auto& [number, connection] : mConnections) {
            if (connection.state() == State::Answer) continue;
            const bool isReply = connection.state() == State::Reply;
            polls.push_back(
                    {connection.socket(), static_cast<short>(isReply ? POLLOUT : POLLIN), 0});
            numbers.push_back(number);
        }
        if (poll(polls.data(), polls.size(), pollTimeout()) < 0) continue;
        if (polls[0].revents != 0) break;
        mNow = Clock::now();
        for (size_t i = 0; i < numbers.size(); ++i) {
            if (polls[kFirst + i].revents != 0) step(mConnections.find(numbers[i]));
        }
        if (polls[1].revents != 0) takeReplies();
        if (polls[2].revents != 0) acceptAll();
    }
    mConnections.clear();
}

int Connections::pollTimeout() const {
    Clock::time_point next = mNow < mAcceptAt ? mAcceptAt : Clock::time_point::max();
    const bool isFull = mConnections.size() >= kMostConnections;
    for (const auto& [number, connection] : mConnections) {
        next = std::min(next, connection.deadline());
        if (isFull && connection.state() != State::Answer) {
            next = std::min(next, connection.moved() + kPlaceTime);
        }
    }
    if (next == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<milliseconds>(next - mNow).count();
    return static_cast<int>(std::max<int64_t>(left, 0));
}

void Connections::endOld() {
    for (auto place = mConnections.begin(); place != mConnections.end();) {
        const bool isOld = mNow >= place->second.deadline();
        place = isOld ? mConnections.erase(place) : std::next(place);
    }
}

Connections::Place Connections::mostIdle(bool ofReplies) {
    auto idle = mConnections.end();
    for (auto place = mConnections.begin(); place != mConnections.end(); ++place) {
        const State state = place->second.state();
        const bool isMeant = ofReplies ? state == State::Reply : state != State::Answer;
        if (!isMeant) continue;
        if (idle == mConnections.end() || place->second.moved() < idle->second.moved())
            idle = place;
    }
    return idle;
}

bool Connections::hasPlace() {
    if (mConnections.size() < kMostConnections) return true;
    const auto idle = mostIdle(false);
    return idle != mConnections.end() && mNow >= idle->second.moved() + kPlaceTime;
}

void Connections::acceptAll() {
    while (hasPlace()) {
        Fd socket(accept4(mListener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (socket.get() < 0) {
            // Without descriptors or memory, the listener would be ready all the time.
            const bool isUsual = errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
            if (!isUsual) mAcceptAt = mNow + kAcceptPause;
            return;
        }
        if (mConnections.size() >= kMostConnections) mConnections.erase(mostIdle(false));
        mConnections.try_emplace(mNext++, std::move(socket), mNow);
    }
}

void Connections::step(Place place) {
    Connection& connection = place->second;
    if (!connection.step(mNow)) {
        mConnections.erase(place);
    } else if (connection.state() == State::Answer) {
        mPool.ask(place->first, connection.takeHead());
    }
}

void Connections::takeReplies() {
    drain(mWake);
    for (AnswerPool::Reply& made : mPool.takeReplies()) {
        const auto place = mConnections.find(made.connection);
        if (!place->second.reply(std::move(made.bytes), mNow)) mConnections.erase(place);
    }
    limitReplies();
}

void Connections::limitReplies() {
    size_t waiting = 0;
    for (const auto& [number, connection] : mConnections) waiting += connection.replySize();
    while (waiting > kMostReplies) {
        const auto idle = mostIdle(true);
        waiting -= idle->second.replySize();
        mConnections.erase(idle);
    }
}

}  // namespace kaveldesk
