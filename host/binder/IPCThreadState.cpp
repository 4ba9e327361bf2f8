#define LOG_TAG "binder"

#include <binder/IPCThreadState.h>

#include <log/log.h>
#include <unistd.h>

#include "host/binder/Server.h"
#include "host/binder/WorkQueue.h"

namespace android {

using kavel::host::Call;
using kavel::host::Server;
using kavel::host::WorkQueue;

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

IPCThreadState::IPCThreadState()
      : mProcess(ProcessState::self()),
        mLastError(NO_ERROR),
        mServingStackPointer(nullptr),
        mCallingPid(getpid()),
        mCallingSid(nullptr),
        mCallingUid(getuid()),
        mWorkSource(kUnsetWorkSource),
        mPropagateWorkSource(false),
        mStrictModePolicy(0),
        mLastTransactionBinderFlags(0),
        mCallRestriction(ProcessState::CallRestriction::NONE) {}

IPCThreadState::~IPCThreadState() = default;

pid_t IPCThreadState::getCallingPid() const {
    return mCallingPid;
}

uid_t IPCThreadState::getCallingUid() const {
    return mCallingUid;
}

void IPCThreadState::clearCaller() {
    mCallingPid = getpid();
    mCallingUid = getuid();
}

void IPCThreadState::joinThreadPool(bool) {
    for (;;) getAndExecuteCommand();
}

status_t IPCThreadState::getAndExecuteCommand() {
    WorkQueue& queue = WorkQueue::instance();
    bool wasLastIdle = false;
    const Call call = queue.take(&wasLastIdle);
    if (wasLastIdle) mProcess->spawnPooledThread(false);

    mCallingPid = call.pid;
    mCallingUid = call.uid;
    Parcel data;
    Parcel reply;
    status_t status = data.setData(call.frame.body.data(), call.frame.body.size());
    if (status == NO_ERROR && call.frame.descriptor.ok()) {
        status = data.writeFileDescriptor(call.frame.descriptor.get(), false);
    }
    if (status == NO_ERROR) {
        status = call.object->transact(call.frame.code, data, &reply, call.frame.flags);
    }
    clearCaller();

    queue.finish(call);
    if (call.isOneWay()) return NO_ERROR;
    if (status == NO_ERROR) status = reply.errorCheck();
    if (status == NO_ERROR && reply.dataSize() > kavel::host::kTransactionSpace) {
        ALOGE("an answer of %zu bytes is too large", reply.dataSize());
        status = FAILED_TRANSACTION;
    }
    const size_t size = status == NO_ERROR ? reply.dataSize() : 0;
    Server::instance().answer(call.connection, status, reply.data(), size);
    return NO_ERROR;
}

}  // namespace android
