#include "tests/host_binder/BinderTest.h"

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace kavel_test {

using namespace android;  // NOLINT(google-build-using-namespace)

ServerProcess::ServerProcess(const std::string& name, int poolSize) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) abort();
    const base::unique_fd theirs(ends[1]);
    mOrders.reset(ends[0]);

    std::string program = KAVEL_TEST_SERVER;
    std::string service = name;
    std::string size = std::to_string(poolSize);
    char* arguments[] = {program.data(), service.data(), size.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirs.get(), STDIN_FILENO);
    if (posix_spawn(&mPid, program.c_str(), &actions, nullptr, arguments, environ) != 0) abort();
    posix_spawn_file_actions_destroy(&actions);
    mService = defaultServiceManager()->getService(String16(name.c_str()));
    EXPECT_NE(mService, nullptr);
}

int32_t ServerProcess::order(Order order) {
    const char letter = order;
    int32_t answer = -1;
    EXPECT_EQ(write(mOrders.get(), &letter, 1), 1);
    EXPECT_EQ(read(mOrders.get(), &answer, sizeof(answer)), ssize_t{sizeof(answer)});
    return answer;
}

void ServerProcess::kill() {
    if (mPid < 0) return;
    ::kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
    mPid = -1;
}

BinderTest::BinderTest() {
    setenv("KAVEL_HOST_BINDER_DIR", socketPath("").c_str(), 1);
}

sp<IBinder> BinderTest::check(const std::string& name) {
    return defaultServiceManager()->checkService(String16(name.c_str()));
}

status_t call(const sp<IBinder>& service, uint32_t code, const std::vector<int32_t>& arguments,
              Parcel* reply, uint32_t flags) {
    Parcel data;
    data.writeInterfaceToken(String16(kDescriptor));
    for (const int32_t argument : arguments) data.writeInt32(argument);
    return service->transact(code, data, reply, flags);
}

}  // namespace kavel_test
