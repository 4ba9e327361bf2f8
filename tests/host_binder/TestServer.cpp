// The other process of the tests: NAME POOL_SIZE. It ends with its standard input.
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

#include "tests/host_binder/TestService.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

class TestObject : public BBinder {
  public:
    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        CHECK_INTERFACE(, data, reply);
        switch (code) {
            case ECHO:
                return reply->appendFrom(&data, data.dataPosition(), data.dataAvail());
            case PASS_GATE:
                passGate();
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

    int32_t obey(char order) {
        const std::lock_guard lock(mLock);
        if (order != AT_GATE) mOpen = order == OPEN_GATE;
        mOpened.notify_all();
        return mAtGate;
    }

  private:
    void passGate() {
        std::unique_lock lock(mLock);
        ++mAtGate;
        mOpened.wait(lock, [this] { return mOpen; });
        --mAtGate;
    }

    status_t record(const Parcel& data) {
        ++mUnlocked;
        const int32_t sender = data.readInt32();
        const int32_t number = data.readInt32();
        const std::lock_guard lock(mLock);
        mRecords.emplace_back(sender, number);
        return NO_ERROR;
    }

    status_t writeRecords(Parcel* reply) {
        const std::lock_guard lock(mLock);
        reply->writeInt32(static_cast<int32_t>(mRecords.size()));
        for (const auto& [sender, number] : mRecords) {
            reply->writeInt32(sender);
            reply->writeInt32(number);
        }
        return NO_ERROR;
    }

    const String16 mDescriptor{kDescriptor};
    int32_t mUnlocked = 0;  // on purpose: one-way calls to one object must not meet
    std::mutex mLock;
    std::condition_variable mOpened;
    bool mOpen = true;
    int32_t mAtGate = 0;
    std::vector<std::pair<int32_t, int32_t>> mRecords;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    ProcessState::self()->setThreadPoolMaxThreadCount(strtoul(argv[2], nullptr, 10));
    ProcessState::self()->startThreadPool();
    const sp<TestObject> object = new TestObject;
    if (defaultServiceManager()->addService(String16(argv[1]), object) != NO_ERROR) return 1;
    char order = 0;
    while (read(STDIN_FILENO, &order, 1) == 1) {
        const int32_t answer = object->obey(order);
        if (write(STDIN_FILENO, &answer, sizeof(answer)) != sizeof(answer)) break;
    }
    _exit(0);  // pool threads may be at the object
}
