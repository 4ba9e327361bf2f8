#include "desk/serve/Connections.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>

namespace kaveldesk {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr size_t kMostConnections = 256;
constexpr size_t kMostHead = 8192;
constexpr size_t kMostReplies = 256U << 20;  // bytes of all replies that are not sent yet
constexpr seconds kHeadTime{5};              // for the whole head
constexpr seconds kStallTime{10};            // in which a client takes something of its reply
constexpr seconds kReplyTime{300};
constexpr seconds kEndTime{1};
// A connection can lose its place to a new one if its client has done nothing for so long.
constexpr seconds kPlaceTime{1};
constexpr milliseconds kAcceptPause{100};

constexpr std::string_view kHeadTooLarge =
        "HTTP/1.1 431 Request Header Fields Too Large\r\nConnection: close\r\nContent-Length: 0\r\n"
        "\r\n";

bool isAgain(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

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
            if (connection.state == State::Answer) continue;
            const bool isReply = connection.state == State::Reply;
            polls.push_back(
                    {connection.socket.get(), static_cast<short>(isReply ? POLLOUT : POLLIN), 0});
            numbers.push_back(number);
        }
        if (poll(polls.data(), polls.size(), pollTimeout()) < 0) continue;
        if (polls[0].revents != 0) break;
        mNow = Clock::now();
        for (size_t i = 0; i < numbers.size(); ++i) {
            const auto place = mConnections.find(numbers[i]);
            if (polls[kFirst + i].revents != 0 && !step(place->first, place->second)) {
                mConnections.erase(place);
            }
        }
        if (polls[1].revents != 0) takeReplies();
        if (polls[2].revents != 0) acceptAll();
    }
    mConnections.clear();
}

int Connections::pollTimeout() const {
    Clock::time_point next = Clock::time_point::max();
    const bool isFull = mConnections.size() >= kMostConnections;
    for (const auto& [number, connection] : mConnections) {
        if (connection.state == State::Answer) continue;
        next = std::min(next, connection.deadline);
        if (connection.state == State::Reply) next = std::min(next, connection.moved + kStallTime);
        if (isFull) next = std::min(next, connection.moved + kPlaceTime);
    }
    if (mNow < mAcceptAt) next = std::min(next, mAcceptAt);
    if (next == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<milliseconds>(next - mNow).count();
    return static_cast<int>(std::max<int64_t>(left, 0));
}

void Connections::endOld() {
    for (auto place = mConnections.begin(); place != mConnections.end();) {
        const Connection& connection = place->second;
        const bool isOld = connection.state != State::Answer &&
                           (mNow >= connection.deadline || (connection.state == State::Reply &&
                                                            mNow >= connection.moved + kStallTime));
        place = isOld ? mConnections.erase(place) : std::next(place);
    }
}

/** The connection whose client has done nothing for the longest time. */
Connections::Place Connections::mostIdle(bool ofReplies) {
    auto idle = mConnections.end();
    for (auto place = mConnections.begin(); place != mConnections.end(); ++place) {
        const State state = place->second.state;
        const bool isMeant = ofReplies ? state == State::Reply : state != State::Answer;
        if (!isMeant) continue;
        if (idle == mConnections.end() || place->second.moved < idle->second.moved) idle = place;
    }
    return idle;
}

bool Connections::hasPlace() {
    if (mConnections.size() < kMostConnections) return true;
    const auto idle = mostIdle(false);
    return idle != mConnections.end() && mNow >= idle->second.moved + kPlaceTime;
}

void Connections::acceptAll() {
    while (hasPlace()) {
        Fd socket(accept4(mListener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (socket.get() < 0) {
            // Without descriptors or memory, the listener would be ready all the time.
            if (!isAgain(errno) && errno != ECONNABORTED) mAcceptAt = mNow + kAcceptPause;
            return;
        }
        if (mConnections.size() >= kMostConnections) mConnections.erase(mostIdle(false));
        Connection connection;
        connection.socket = std::move(socket);
        connection.deadline = mNow + kHeadTime;
        connection.moved = mNow;
        mConnections.emplace(mNext++, std::move(connection));
    }
}

void Connections::takeReplies() {
    drain(mWake);
    for (AnswerPool::Reply& made : mPool.takeReplies()) {
        const auto place = mConnections.find(made.connection);
        reply(place->second, std::move(made.bytes));
        if (!send(place->second)) mConnections.erase(place);
    }
    size_t waiting = 0;
    for (const auto& [number, connection] : mConnections) {
        if (connection.state == State::Reply) waiting += connection.bytes.size();
    }
    while (waiting > kMostReplies) {
        const auto idle = mostIdle(true);
        waiting -= idle->second.bytes.size();
        mConnections.erase(idle);
    }
}

bool Connections::step(uint64_t number, Connection& connection) {
    if (connection.state == State::Reply) return send(connection);
    std::array<char, 4096> buffer;
    const ssize_t size = recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
    if (size <= 0) return size < 0 && isAgain(errno);
    if (connection.state == State::End) return true;
    // The end of the head may be partly in what came before.
    const size_t from = connection.bytes.size() < 3 ? 0 : connection.bytes.size() - 3;
    connection.bytes.append(buffer.data(), static_cast<size_t>(size));
    constexpr std::string_view kEnd = "\r\n\r\n";
    const size_t end = connection.bytes.find(kEnd, from);
    const size_t head = end == std::string::npos ? connection.bytes.size() : end + kEnd.size();
    if (head > kMostHead) {
        reply(connection, std::string(kHeadTooLarge));
        return send(connection);
    }
    if (end == std::string::npos) return true;
    connection.bytes.resize(head);
    connection.state = State::Answer;
    mPool.ask(number, std::move(connection.bytes));
    return true;
}

void Connections::reply(Connection& connection, std::string bytes) {
    connection.state = State::Reply;
    connection.bytes = std::move(bytes);
    connection.deadline = mNow + kReplyTime;
    connection.moved = mNow;
}

bool Connections::send(Connection& connection) {
    const size_t left = connection.bytes.size() - connection.sent;
    const ssize_t size = ::send(connection.socket.get(), connection.bytes.data() + connection.sent,
                                left, MSG_NOSIGNAL);
    if (size < 0) return isAgain(errno);
    connection.sent += static_cast<size_t>(size);
    connection.moved = mNow;
    if (static_cast<size_t>(size) < left) return true;
    // Bytes that are not read would make the kernel throw the reply away at the end.
    shutdown(connection.socket.get(), SHUT_WR);
    connection.bytes = {};
    connection.state = State::End;
    connection.deadline = mNow + kEndTime;
    return true;
}

}  // namespace kaveldesk
