// Compares the daemon's receiving, decoding and handling of kernel packets with libnl's receive and
// parse loop and with a bare receive loop. Also measures how many packets of a burst are lost.

#include <cerrno>
#include <chrono>

#include <sys/socket.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>

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

/** Measures @p drain with batches of packets that are already in the socket of @p port. */
template <typename Drain>
void timeBatches(benchmark::State& state, uint32_t port, const Drain& drain) {
    constexpr int kBatch = 64;  // as many as fit into the default receive buffer
    const base::unique_fd peer = openSocket();
    const std::string messages[] = {statisticMessage(), eventMessage()};
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            if (!sendTo(peer.get(), port, 0, messages[i % 2])) abort();
        }
        const auto start = Clock::now();
        drain(kBatch);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
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

void daemonReceives(benchmark::State& state, bool (*callback)(kavel_kevent_packet*),
                    int minimumPriority) {
    __android_log_set_logger([](const __android_logger_data*, const char*) {});
    __android_log_set_minimum_priority(minimumPriority);
    uint32_t port = 0;
    sReceiving = openBound(&port);
    const sp<KavelKeventThread> thread = new KavelKeventThread(callback);
    timeBatches(state, port, [&](int count) {
        sLeft = count;
        try {
            thread->threadLoop();
        } catch (const NothingLeft&) {
            fake::takeUploads();
            fake::takeReports();
        }
    });
    sReceiving.reset();
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

void burstLoss(benchmark::State& state) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    sRaisesBuffer = state.range(0) != 0;
    const std::string message = test::genlMessage(
            3, test::packet(3, "kavel", "event",
                            std::string(static_cast<size_t>(state.range(1)), 'p')));
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
    state.counters["lost"] = kBurst - sHandled;
    state.counters["lost_percent"] = 100.0 * (kBurst - sHandled) / kBurst;
}

BENCHMARK(bareReceive)->UseManualTime();
BENCHMARK(libnlReceiveAndParse)->UseManualTime();
BENCHMARK_CAPTURE(daemonReceives, packetOnly, lookAtPacket, ANDROID_LOG_SILENT)->UseManualTime();
BENCHMARK_CAPTURE(daemonReceives, andHandles, KavelRecvKeventFunc, ANDROID_LOG_SILENT)
        ->UseManualTime();
BENCHMARK_CAPTURE(daemonReceives, andHandlesWithLogLines, KavelRecvKeventFunc, ANDROID_LOG_VERBOSE)
        ->UseManualTime();
BENCHMARK(burstLoss)
        ->ArgNames({"raised", "payload"})
        ->ArgsProduct({{0, 1}, {60, 700}})
        ->Iterations(1)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);

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
