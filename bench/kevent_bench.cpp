// Compares the daemon's receiving, decoding and handling of kernel packets with libnl's receive and
// parse loop, and with a bare receive loop that also writes the required log lines. Also measures
// how many packets of a burst are lost.

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>

#include "bench/LogLines.h"
#include "core/KavelKeventThread.h"
#include "core/KavelRecvKeventFunc.h"
#include "tests/core/FakeHandler.h"
#include "tests/core/Messages.h"

using namespace android;         // NOLINT(google-build-using-namespace): the only file
using namespace android::kavel;  // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;

extern "C" {
int __real_socket(int domain, int type, int protocol);
int __real_bind(int fd, const sockaddr* address, socklen_t size);
int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
ssize_t __real_recv(int fd, void* data, size_t size, int flags);
ssize_t __real_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize);
ssize_t __real_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize);
}

namespace {

// Replaces the kernel's family by a protocol that any two processes may use.
base::unique_fd openSocket() {
    return base::unique_fd(__real_socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK));
}

base::unique_fd openBound(uint32_t* port) {
    base::unique_fd fd = openSocket();
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    socklen_t size = sizeof(address);
    if (__real_bind(fd.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        abort();
    }
    *port = address.nl_pid;
    return fd;
}

bool sendTo(int fd, uint32_t port, uint32_t groups, const std::string& message) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_pid = port;
    address.nl_groups = groups;
    return __real_sendto(fd, message.data(), message.size(), 0,
                         reinterpret_cast<const sockaddr*>(&address), sizeof(address)) >= 0;
}

std::string statisticMessage() {
    return test::genlMessage(2, test::packet(2, "CriticalLog", "display",
                                             "logmap{logType:black_screen;pid:1234;reason:none}"));
}

std::string eventMessage() {
    return test::genlMessage(3, test::packet(3, "kavel", "event",
                                             "event_id: 257.loginfo: 3.pid: 1234.extrainfo: boot"));
}

/**
 * Measures the CPU time of @p drain with batches of @p messages that are already in the socket of
 * @p port. Each message takes its turn.
 */
template <typename Drain>
void timeBatches(benchmark::State& state, uint32_t port, const Drain& drain,
                 const std::vector<std::string>& messages = {statisticMessage(), eventMessage()}) {
    constexpr size_t kBatch = 64;  // as many as fit into the default receive buffer
    const base::unique_fd peer = openSocket();
    for ([[maybe_unused]] auto _ : state) {
        for (size_t i = 0; i < kBatch; ++i) {
            if (!sendTo(peer.get(), port, 0, messages[i % messages.size()])) abort();
        }
        const double start = bench::cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
        drain(static_cast<int>(kBatch));
        state.SetIterationTime(bench::cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - start);
    }
    state.counters["operations"] = kBatch;
}

void bareReceive(benchmark::State& state) {
    uint32_t port = 0;
    const base::unique_fd fd = openBound(&port);
    char buffer[1012];
    timeBatches(state, port, [&](int count) {
        while (count-- > 0)
            benchmark::DoNotOptimize(__real_recv(fd.get(), buffer, sizeof(buffer), 0));
    });
}

int parseWithLibnl(nl_msg* message, void* /*unused*/) {
    nlattr* attributes[8] = {};
    if (genlmsg_parse(nlmsg_hdr(message), 0, attributes, 7, nullptr) != 0) abort();
    for (nlattr* const attribute : attributes) {
        if (attribute != nullptr) benchmark::DoNotOptimize(nla_data(attribute));
    }
    return NL_OK;
}

void libnlReceiveAndParse(benchmark::State& state) {
    nl_sock* const sock = nl_socket_alloc();
    nl_socket_disable_seq_check(sock);
    nl_socket_disable_msg_peek(sock);  // one call per packet, as in the other loops
    nl_socket_modify_cb(sock, NL_CB_VALID, NL_CB_CUSTOM, parseWithLibnl, nullptr);
    if (nl_connect(sock, NETLINK_USERSOCK) != 0) abort();
    nl_socket_set_buffer_size(sock, 212'992, 0);  // libnl's default is too small for a batch
    timeBatches(state, nl_socket_get_local_port(sock), [&](int count) {
        while (count-- > 0) nl_recvmsgs_default(sock);
    });
    nl_socket_free(sock);
}

/** Thrown to leave the thread's endless loop. */
struct NothingLeft {};

base::unique_fd sReceiving;
int sLeft = 0;       // number of packets to receive; negative: all
std::string sBurst;  // if not empty, sent kBurst times before the first receive
bool sRaisesBuffer = false;

bool lookAtPacket(kavel_kevent_packet* packet) {
    benchmark::DoNotOptimize(packet->payload[0]);
    return true;
}

/** Runs the daemon's thread for @p count packets. */
void receivePackets(const sp<KavelKeventThread>& thread, int count) {
    sLeft = count;
    try {
        thread->threadLoop();
    } catch (const NothingLeft&) {
        fake::takeUploads();
        fake::takeReports();
    }
}

void timeThread(benchmark::State& state, bool (*callback)(kavel_kevent_packet*),
                const std::vector<std::string>& messages) {
    uint32_t port = 0;
    sReceiving = openBound(&port);
    const sp<KavelKeventThread> thread = new KavelKeventThread(callback);
    timeBatches(
            state, port, [&](int count) { receivePackets(thread, count); }, messages);
    sReceiving.reset();
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

void daemonReceives(benchmark::State& state) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    timeThread(state, lookAtPacket, {statisticMessage(), eventMessage()});
}

std::string messageOf(int64_t packetType) {
    return packetType == KEVENT_TYPE_STATISTIC ? statisticMessage() : eventMessage();
}

void daemonHandles(benchmark::State& state) {
    __android_log_set_logger(bench::writeOut);
    timeThread(state, KavelRecvKeventFunc, {messageOf(state.range(0))});
}

void packetWithPairs(benchmark::State& state) {
    std::string logmap = "logmap{";
    for (int64_t i = 0; i < state.range(0); ++i) logmap += "k" + std::to_string(i) + ":v;";
    logmap.back() = '}';
    __android_log_set_logger(bench::writeOut);
    timeThread(state, KavelRecvKeventFunc,
               {test::genlMessage(2, test::packet(2, "CriticalLog", "display", logmap))});
}

/** Returns the lines that the daemon logs for one packet, without those of the thread's start. */
std::vector<bench::Line> linesOfPacket(const std::string& message) {
    uint32_t port = 0;
    sReceiving = openBound(&port);
    const base::unique_fd peer = openSocket();
    const sp<KavelKeventThread> thread = new KavelKeventThread(KavelRecvKeventFunc);
    std::vector<bench::Line> lines[2];
    for (int count : {0, 1}) {
        if (count > 0 && !sendTo(peer.get(), port, 0, message)) abort();
        lines[count] = bench::linesOf([&] { receivePackets(thread, count); });
    }
    sReceiving.reset();
    // The line before a receive is among those of the start, and those of the packet are before it.
    const size_t packets = lines[1].size() - lines[0].size();
    const auto begin = lines[1].begin() + static_cast<ptrdiff_t>(lines[0].size()) - 1;
    return {begin, begin + static_cast<ptrdiff_t>(packets)};
}

/** A thread that does nothing at each call, and its caller waits for it. */
class OtherThread {
  public:
    ~OtherThread() {
        call(/*isLast=*/true);
        mThread.join();
    }
    void call(bool isLast = false) {
        {
            const std::lock_guard lock(mLock);
            mIsCalled = true;
            mIsLast = isLast;
        }
        mCalled.notify_one();
        std::unique_lock lock(mLock);
        mReturned.wait(lock, [this] { return !mIsCalled; });
    }

  private:
    void serve() {
        for (bool isLast = false; !isLast;) {
            {
                std::unique_lock lock(mLock);
                mCalled.wait(lock, [this] { return mIsCalled; });
                mIsCalled = false;
                isLast = mIsLast;
            }
            mReturned.notify_one();
        }
    }

    std::mutex mLock;
    std::condition_variable mCalled;
    std::condition_variable mReturned;
    bool mIsCalled = false;
    bool mIsLast = false;
    std::thread mThread{[this] { serve(); }};
};

/**
 * The least that a packet needs. A statistic also needs a call of another thread, because the
 * maker's library, which takes it, may hang.
 */
void receiveAndLog(benchmark::State& state) {
    const std::string message = messageOf(state.range(0));
    const std::vector<bench::Line> lines = linesOfPacket(message);
    __android_log_set_logger(bench::writeOut);
    uint32_t port = 0;
    const base::unique_fd fd = openBound(&port);
    char buffer[1012];
    OtherThread client;
    const auto drain = [&](int count) {
        while (count-- > 0) {
            benchmark::DoNotOptimize(__real_recv(fd.get(), buffer, sizeof(buffer), 0));
            for (const bench::Line& line : lines) bench::write(line);
            if (state.range(0) == KEVENT_TYPE_STATISTIC) client.call();
        }
    };
    timeBatches(state, port, drain, {message});
}

constexpr int kBurst = 20'000;
int sHandled = 0;

/**
 * Sends to a group, as the kernel does: packets that do not fit into the buffer are dropped. Sends
 * all packets before the first is handled, so that the result does not depend on the scheduler.
 */
void sendBurst() {
    const base::unique_fd peer = openSocket();
    for (int i = 0; i < kBurst; ++i) sendTo(peer.get(), 0, 1, sBurst);
    sBurst.clear();
}

bool handleSlowly(kavel_kevent_packet* /*packet*/) {
    ++sHandled;
    const auto end = Clock::now() + std::chrono::microseconds(155);
    while (Clock::now() < end) {
    }
    return true;
}

void burst(benchmark::State& state) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    sRaisesBuffer = true;
    const std::string message = test::genlMessage(
            3, test::packet(3, "kavel", "event",
                            std::string(static_cast<size_t>(state.range(0)), 'p')));
    for ([[maybe_unused]] auto _ : state) {
        uint32_t port = 0;
        sReceiving = openBound(&port);
        const int group = 1;
        if (__real_setsockopt(sReceiving.get(), SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group,
                              sizeof(group)) != 0) {
            state.SkipWithError("joining a netlink group needs CAP_NET_ADMIN");
            return;
        }
        sHandled = 0;
        sLeft = -1;
        sBurst = message;
        const sp<KavelKeventThread> thread = new KavelKeventThread(handleSlowly);
        try {
            thread->threadLoop();
        } catch (const NothingLeft&) {
            // the only way out of the loop
        }
    }
    sReceiving.reset();
    sRaisesBuffer = false;
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    state.counters["lost"] = kBurst - sHandled;
}

BENCHMARK(bareReceive)->UseManualTime();
BENCHMARK(libnlReceiveAndParse)->UseManualTime();
BENCHMARK(daemonReceives)->UseManualTime();
BENCHMARK(daemonHandles)->Arg(KEVENT_TYPE_STATISTIC)->Arg(KEVENT_TYPE_EVENT)->UseManualTime();
BENCHMARK(receiveAndLog)->Arg(KEVENT_TYPE_STATISTIC)->Arg(KEVENT_TYPE_EVENT)->UseManualTime();
BENCHMARK(packetWithPairs)->Arg(1)->Arg(10)->Arg(25)->Arg(50)->Arg(100)->UseManualTime();
BENCHMARK(burst)->Arg(60)->Arg(700)->Iterations(1)->Repetitions(1)->UseRealTime();

}  // namespace

extern "C" {

// Gives the thread the socket that is already open.
int __wrap_socket(int /*domain*/, int /*type*/, int /*protocol*/) {
    return dup(sReceiving.get());
}

int __wrap_bind(int /*fd*/, const sockaddr* /*address*/, socklen_t /*size*/) {
    return 0;
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    return sRaisesBuffer ? __real_setsockopt(fd, level, name, value, size) : 0;
}

ssize_t __wrap_sendto(int /*fd*/, const void* /*data*/, size_t size, int /*flags*/,
                      const sockaddr* /*address*/, socklen_t /*addressSize*/) {
    return static_cast<ssize_t>(size);
}

ssize_t __wrap_recv(int /*fd*/, void* data, size_t size, int /*flags*/) {
    return static_cast<ssize_t>(test::familyReply(0x1c).copy(static_cast<char*>(data), size));
}

ssize_t __wrap_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize) {
    if (!sBurst.empty()) sendBurst();
    if (sLeft == 0) throw NothingLeft();
    if (sLeft > 0) --sLeft;
    const ssize_t received =
            __real_recvfrom(fd, data, size, flags | MSG_DONTWAIT, address, addressSize);
    if (received < 0 && errno == EAGAIN) throw NothingLeft();
    reinterpret_cast<sockaddr_nl*>(address)->nl_pid = 0;  // the kernel's port
    return received;
}
}

BENCHMARK_MAIN();
