#include "desk/serve/Connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace kaveldesk {
namespace {

using std::chrono::seconds;

constexpr size_t kMostHead = 8192;
constexpr seconds kHeadTime{5};    // for the whole head
constexpr seconds kStallTime{10};  // in which a client takes something of its reply
constexpr seconds kReplyTime{300};
constexpr seconds kEndTime{1};

constexpr std::string_view kHeadTooLarge =
        "HTTP/1.1 431 Request Header Fields Too Large\r\nConnection: close\r\nContent-Length: 0\r\n"
        "\r\n";

bool isAgain(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

Connection::Connection(Fd socket, Clock::time_point now)
      : mSocket(std::move(socket)), mDeadline(now + kHeadTime), mMoved(now) {}

Connection::Clock::time_point Connection::deadline() const {
    if (mState == State::Answer) return Clock::time_point::max();
    return mState == State::Reply ? std::min(mDeadline, mMoved + kStallTime) : mDeadline;
}

bool Connection::step(Clock::time_point now) {
    return mState == State::Reply ? send(now) : receive(now);
}

bool Connection::receive(Clock::time_point now) {
    std::array<char, 4096> buffer;
    const ssize_t size = recv(mSocket.get(), buffer.data(), buffer.size(), 0);
    if (size <= 0) return size < 0 && isAgain(errno);
    if (mState == State::End) return true;
    // The end of the head may be partly in what came before.
    const size_t from = mBytes.size() < 3 ? 0 : mBytes.size() - 3;
    mBytes.append(buffer.data(), static_cast<size_t>(size));
    constexpr std::string_view kEnd = "\r\n\r\n";
    const size_t end = mBytes.find(kEnd, from);
    const size_t head = end == std::string::npos ? mBytes.size() : end + kEnd.size();
    if (head > kMostHead) return reply(std::string(kHeadTooLarge), now);
    if (end == std::string::npos) return true;
    mBytes.resize(head);
    mState = State::Answer;
    return true;
}

bool Connection::reply(std::string bytes, Clock::time_point now) {
    mState = State::Reply;
    mBytes = std::move(bytes);
    mDeadline = now + kReplyTime;
    mMoved = now;
    return send(now);
}

bool Connection::send(Clock::time_point now) {
    const size_t left = mBytes.size() - mSent;
    const ssize_t size = ::send(mSocket.get(), mBytes.data() + mSent, left, MSG_NOSIGNAL);
    if (size < 0) return isAgain(errno);
    mSent += static_cast<size_t>(size);
    mMoved = now;
    if (static_cast<size_t>(size) < left) return true;
    // Bytes that are not read would make the kernel throw the reply away at the end.
    shutdown(mSocket.get(), SHUT_WR);
    mBytes = {};
    mState = State::End;
    mDeadline = now + kEndTime;
    return true;
}

}  // namespace kaveldesk
