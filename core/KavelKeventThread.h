#pragma once

#include <cstdlib>
#include <memory>

#include <android-base/unique_fd.h>
#include <utils/Thread.h>

#include "core/KeventPacket.h"
#include "core/KeventWire.h"
#include "platform/Mutex.h"
#include "platform/RepeatCounter.h"

namespace android {

/**
 * The channel to the kernel's monitor: registers this process and hands every packet to a callback,
 * one at a time, on its own thread. Speaks generic netlink to kernels from 5.10 on and a raw
 * netlink protocol to older ones.
 *
 * Set-up that fails (no socket, no bind, no such family) ends the thread for good; the rest of the
 * daemon goes on without kernel events.
 */
class KavelKeventThread : public Thread {
  public:
    /** @param callback  must be done with the packet when it returns; may be null */
    explicit KavelKeventThread(bool (*callback)(kavel_kevent_packet*));
    ~KavelKeventThread() override;

    bool threadLoop() override;

    /** Chooses the dialect by the kernel's release. 0, or -1 with the dialect left as it was. */
    int getKernelVersion();
    /** The id of a generic netlink family: -1 where the kernel knows none of that name. */
    int genlGetFamilyId(const char* name) EXCLUDES(mLock);
    /** Sends one attribute; 0 when all of it has gone out, otherwise -1. */
    int genlSendMsg(uint16_t type, uint8_t cmd, uint8_t version, uint16_t attrType,
                    const void* data, uint16_t dataLen) REQUIRES(mLock);
    /** Sends @p data to the monitor's family; 0 or -1. */
    int sendKeventGki2(const char* data, int len) EXCLUDES(mLock);
    /** Sends a text in the compat dialect; the number of bytes sent, or -1. */
    int sendKeventComp(int type, int flag, const char* data) EXCLUDES(mLock);
    /** Blocks for the next packet; the number of bytes received, or -22. */
    int recvKeventGki2() EXCLUDES(mLock);
    int recvKeventComp() EXCLUDES(mLock);

  private:
    struct Free {
        void operator()(char* memory) const { free(memory); }
    };

    bool openSocket();
    bool registerWithKernel();
    int receiveLocked(const char* startLine) REQUIRES(mLock);
    void logPacketLocked() REQUIRES(mLock);

    // Held through the blocking receive, so that a send from another thread would wait its turn.
    kavel::Mutex mLock;
    std::unique_ptr<char, Free> mRecvData;   // and one guard byte, always NUL
    kavel_kevent_packet* mPacket = nullptr;  // in mRecvData, of the last good receive
    bool (*const mCallback)(kavel_kevent_packet*);
    base::unique_fd mEventFd;
    bool mIsGki2 = false;
    int mFamilyId = 0;
    kavel::GenlMessage mMsgBuf GUARDED_BY(mLock) = {};
    kavel::RepeatCounter mReceiveFailures GUARDED_BY(mLock);
    kavel::RepeatCounter mForeignPackets GUARDED_BY(mLock);
};

}  // namespace android
