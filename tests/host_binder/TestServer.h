#pragma once

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "tests/fake/Eventually.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {

/** What a test server's object understands. */
enum Code : uint32_t {
    ECHO = IBinder::FIRST_CALL_TRANSACTION,  ///< replies what was sent
    PASS_GATE,  ///< leaves a byte in the gate's file, and returns when nobody has it locked
    RECORD,     ///< keeps sender and number, two int32
    RECORDS,    ///< replies the count, and each sender and number
    DIE,        ///< ends the process in the middle of the call
    GROW,       ///< replies as many bytes as asked for
};

/** Gives each test a service directory and a gate of its own. */
class BinderTest : public testing::Test {
  protected:
    BinderTest() {
        setenv("KAVEL_HOST_BINDER_DIR", (mDirectory / "").c_str(), 1);
        setenv("KAVEL_TEST_GATE", mDirectory.write(".gate", "").c_str(), 1);
    }

    /** Keeps the gate closed until the descriptor is. */
    base::unique_fd closeGate() const {
        base::unique_fd gate(open((mDirectory / ".gate").c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(flock(gate.get(), LOCK_EX), 0);
        return gate;
    }
    /** Waits until @p count calls have come to the gate. */
    bool areAtGate(size_t count) const {
        return test::eventually(
                [&] { return test::contentOf(mDirectory / ".gate").size() == count; });
    }

    const test::TempDir mDirectory;
};

/** A test server in a process of its own; ended with the object. */
class ServerProcess {
  public:
    explicit ServerProcess(std::string name, size_t poolSize = 4);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() { kill(); }

    const sp<IBinder>& service() const { return mService; }
    pid_t pid() const { return mPid; }
    void kill();

  private:
    pid_t mPid = -1;
    sp<IBinder> mService;
};

inline status_t call(const sp<IBinder>& service, uint32_t code,
                     const std::vector<int32_t>& arguments = {}, Parcel* reply = nullptr,
                     uint32_t flags = 0) {
    Parcel data;
    data.write(arguments.data(), arguments.size() * sizeof(int32_t));
    return service->transact(code, data, reply, flags);
}

}  // namespace android::kavel::host
