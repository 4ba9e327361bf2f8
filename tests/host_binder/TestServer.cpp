// The other process of the tests: NAME POOL_SIZE [join]. Without "join" main returns when its
// standard input ends.
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/host_binder/TestService.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

class Gate {
  public:
    void set(bool open) {
        const std::lock_guard lock(mLock);
        mOpen = open;
        mChanged.notify_all();
    }

    void pass() {
        std::unique_lock lock(mLock);
        mMost = std::max(mMost, ++mWaiting);
        mChanged.wait(lock, [this] { return mOpen; });
        --mWaiting;
    }

    int32_t waiting() {
        const std::lock_guard lock(mLock);
        return mWaiting;
    }

    int32_t most() {
        const std::lock_guard lock(mLock);
        return mMost;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mOpen = true;
    int32_t mWaiting = 0;
    int32_t mMost = 0;
};

// Never destroyed: pool threads may be at it when main returns.
Gate& gate() {
    static Gate& theGate = *new Gate;
    return theGate;
}

class TestObject : public BBinder {
  public:
    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code > LAST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        CHECK_INTERFACE(, data, reply);
        switch (code) {
            case ECHO:
                return echo(data, reply);
            case CALLER:
                reply->writeInt32(IPCThreadState::self()->getCallingPid());
                return reply->writeUint32(IPCThreadState::self()->getCallingUid());
            case PASS_GATE:
                gate().pass();
                return NO_ERROR;
            case RECORD:
                return record(data);
            case RECORDS:
                return writeRecords(reply);
            case DIE:
                _exit(0);
            case GROW:
                return reply->setDataSize(static_cast<size_t>(data.readInt32()));
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

  private:
    static status_t echo(const Parcel& data, Parcel* reply) {
        reply->writeInt32(data.readInt32());
        reply->writeInt64(data.readInt64());
        reply->writeUint32(data.readUint32());
        reply->writeUint64(data.readUint64());
        reply->writeBool(data.readBool());
        reply->writeByte(data.readByte());
        reply->writeChar(data.readChar());
        reply->writeFloat(data.readFloat());
        reply->writeDouble(data.readDouble());
        reply->writeCString(data.readCString());
        reply->writeString8(data.readString8());
        return reply->writeString16(data.readString16());
    }

    status_t record(const Parcel& data) {
        ++mUnlocked;
        const int32_t sender = data.readInt32();
        const int32_t number = data.readInt32();
        const std::lock_guard lock(mLock);
        mPid = IPCThreadState::self()->getCallingPid();
        mUid = IPCThreadState::self()->getCallingUid();
        mRecords.emplace_back(sender, number);
        return NO_ERROR;
    }

    status_t writeRecords(Parcel* reply) {
        const std::lock_guard lock(mLock);
        reply->writeInt32(mPid);
        reply->writeUint32(mUid);
        reply->writeInt32(static_cast<int32_t>(mRecords.size()));
        for (const auto& [sender, number] : mRecords) {
            reply->writeInt32(sender);
            reply->writeInt32(number);
        }
        return NO_ERROR;
    }

    const String16 mDescriptor{kDescriptor};
    int32_t mUnlocked = 0;  // on purpose: one-way calls to one object must not meet
    pid_t mPid = -1;
    uid_t mUid = 0;
    std::mutex mLock;
    std::vector<std::pair<int32_t, int32_t>> mRecords;
};

int32_t obey(char order) {
    switch (order) {
        case CLOSE_GATE:
        case OPEN_GATE:
            gate().set(order == OPEN_GATE);
            return 0;
        case MOST_AT_GATE:
            return gate().most();
        default:
            return gate().waiting();
    }
}

void obeyOrders() {
    char order = 0;
    while (read(STDIN_FILENO, &order, 1) == 1) {
        const int32_t answer = obey(order);
        if (write(STDIN_FILENO, &answer, sizeof(answer)) != sizeof(answer)) return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    ProcessState::self()->setThreadPoolMaxThreadCount(strtoul(argv[2], nullptr, 10));
    ProcessState::self()->startThreadPool();
    if (defaultServiceManager()->addService(String16(argv[1]), new TestObject) != NO_ERROR)
        return 1;
    if (argc == 3) {
        obeyOrders();
        return 0;
    }
    std::thread(obeyOrders).detach();
    IPCThreadState::self()->joinThreadPool();
}
