// The test program, which is also the program of its servers: NAME POOL_SIZE.

#include "tests/host_binder/TestServer.h"

#include <binder/ProcessState.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <mutex>

namespace android::kavel::host {
namespace {

class TestObject : public BBinder {
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        switch (code) {
            case ECHO:
                return reply->appendFrom(&data, 0, data.dataSize());
            case PASS_GATE: {
                const char* const path = getenv("KAVEL_TEST_GATE");
                if (path == nullptr) return NAME_NOT_FOUND;
                const base::unique_fd gate(open(path, O_WRONLY | O_APPEND | O_CLOEXEC));
                const bool isLeft = write(gate.get(), "x", 1) == 1;
                return isLeft && flock(gate.get(), LOCK_SH) == 0 ? NO_ERROR : UNKNOWN_ERROR;
            }
            case RECORD: {
                ++mUnlocked;
                const std::lock_guard lock(mLock);
                mRecords.push_back(data.readInt32());
                mRecords.push_back(data.readInt32());
                return NO_ERROR;
            }
            case RECORDS: {
                const std::lock_guard lock(mLock);
                reply->writeInt32(static_cast<int32_t>(mRecords.size() / 2));
                return reply->write(mRecords.data(), mRecords.size() * sizeof(int32_t));
            }
            case DIE:
                _exit(0);
            case GROW:
                return reply->setDataSize(static_cast<size_t>(data.readInt32()));
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

    int32_t mUnlocked = 0;  // on purpose: one-way calls to one object must not meet
    std::mutex mLock;
    std::vector<int32_t> mRecords;
};

}  // namespace

ServerProcess::ServerProcess(std::string name, size_t poolSize) {
    std::string program = KAVEL_TEST_SERVER;
    std::string size = std::to_string(poolSize);
    char* arguments[] = {program.data(), name.data(), size.data(), nullptr};
    EXPECT_EQ(posix_spawn(&mPid, arguments[0], nullptr, nullptr, arguments, environ), 0);
    mService = defaultServiceManager()->getService(String16(name.c_str()));
    EXPECT_NE(mService, nullptr);
}

void ServerProcess::kill() {
    if (mPid < 0) return;
    ::kill(mPid, SIGKILL);
    waitpid(std::exchange(mPid, -1), nullptr, 0);
}

}  // namespace android::kavel::host

int main(int argc, char** argv) {
    using namespace android;  // NOLINT(google-build-using-namespace)
    testing::InitGoogleTest(&argc, argv);
    if (argc != 3) return RUN_ALL_TESTS();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    ProcessState::self()->setThreadPoolMaxThreadCount(strtoul(argv[2], nullptr, 10));
    ProcessState::self()->startThreadPool();
    defaultServiceManager()->addService(String16(argv[1]), new kavel::host::TestObject);
    for (;;) pause();
}
